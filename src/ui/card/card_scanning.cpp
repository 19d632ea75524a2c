#include "ui/card/card_scanning.hpp"

#include <QPainter>
#include <QTimerEvent>
#include <algorithm>
#include <utility>

#include "ui/card/card_layout.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int ringSide = 14;
constexpr int ringGap = 10;
constexpr int edgeRoom = 14;
constexpr int turnTime = 40;  // ms a step
constexpr int turnStep = 15;  // degrees

}  // namespace

CardScanning::CardScanning(std::shared_ptr<NativeWindows> native)
    : FloatingSurface(std::move(native), QStringLiteral("Vantorel Smart Redact"),
                      FloatingInput::none) {}

void CardScanning::setWords(const std::string& words) {
  const QString shown = QString::fromStdString(words);
  if (shown == words_) return;
  words_ = shown;
  setAccessibleName(words_);
  update();
}

QSize CardScanning::panelSize() const {
  const QFontMetrics metrics(tokens::bodyFont());
  const int height = std::max(card_layout::capsuleHeight, metrics.height() + 12);
  return {2 * edgeRoom + ringSide + ringGap + metrics.horizontalAdvance(words_), height};
}

void CardScanning::showEvent(QShowEvent* event) {
  FloatingSurface::showEvent(event);
  // Where the desktop wants no animations the ring stands still.
  if (tokens::motion(turnTime) != 0) timer_.start(turnTime, this);
}

void CardScanning::hideEvent(QHideEvent* event) {
  timer_.stop();
  FloatingSurface::hideEvent(event);
}

void CardScanning::timerEvent(QTimerEvent* event) {
  if (event->timerId() != timer_.timerId()) return FloatingSurface::timerEvent(event);
  angle_ = (angle_ + turnStep) % 360;
  update();
}

void CardScanning::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  const FloatingColors& colors = floatingColors();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect panel = panelRect().adjusted(edgeRoom, 0, -edgeRoom, 0);
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  const QRectF ring((isMirrored ? panel.right() + 1 - ringSide : panel.left()) + 1,
                    panel.center().y() - ringSide / 2.0 + 1, ringSide - 2, ringSide - 2);
  painter.setPen(QPen(colors.innerLine, 2));
  painter.drawEllipse(ring);
  painter.setPen(QPen(colors.accent, 2, Qt::SolidLine, Qt::RoundCap));
  painter.drawArc(ring, -angle_ * 16, 100 * 16);
  const int taken = ringSide + ringGap;
  painter.setFont(tokens::bodyFont());
  painter.setPen(colors.text);
  painter.drawText(isMirrored ? panel.adjusted(0, 0, -taken, 0) : panel.adjusted(taken, 0, 0, 0),
                   static_cast<int>(Qt::AlignVCenter) |
                       static_cast<int>(isMirrored ? Qt::AlignRight : Qt::AlignLeft),
                   words_);
}

}  // namespace vantorel
