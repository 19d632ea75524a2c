#include "ui/kit/busy_ring.hpp"

#include <QPainter>
#include <QTimerEvent>

#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int ringSide = 16;
constexpr int turnTime = 40;  // ms a step
constexpr int turnStep = 15;  // degrees

}  // namespace

BusyRing::BusyRing(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAccessibleName(QStringLiteral("Working"));
}

QSize BusyRing::sizeHint() const { return {ringSide, ringSide}; }

void BusyRing::setBusy(bool isBusy) {
  if (isBusy == isBusy_) return;
  isBusy_ = isBusy;
  isTurning_ = false;
  timer_.stop();
  begin();
  update();
}

void BusyRing::begin() {
  if (isBusy_ && isVisible()) timer_.start(isTurning_ ? turnTime : tokens::busyDelay, this);
}

void BusyRing::showEvent(QShowEvent*) { begin(); }

void BusyRing::hideEvent(QHideEvent*) { timer_.stop(); }

void BusyRing::timerEvent(QTimerEvent* event) {
  if (event->timerId() != timer_.timerId()) return;
  if (!isTurning_) {
    isTurning_ = true;
    timer_.stop();
    // Where the desktop wants no animations the ring stands still.
    if (tokens::motion(turnTime) != 0) timer_.start(turnTime, this);
  }
  angle_ = (angle_ + turnStep) % 360;
  update();
}

void BusyRing::paintEvent(QPaintEvent*) {
  if (!isTurning_) return;
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const double side = std::min(width(), height()) - 3.0;
  const QRectF ring((width() - side) / 2, (height() - side) / 2, side, side);
  painter.setPen(QPen(roles.line, 2));
  painter.drawEllipse(ring);
  painter.setPen(QPen(roles.accentText, 2, Qt::SolidLine, Qt::RoundCap));
  painter.drawArc(ring, -angle_ * 16, 100 * 16);
}

}  // namespace vantorel
