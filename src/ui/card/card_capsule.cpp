#include "ui/card/card_capsule.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <utility>

#include "ui/card/card_layout.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

QString wordsFor(int count) { return QStringLiteral("%1 more").arg(count); }

}  // namespace

CardCapsule::CardCapsule(std::shared_ptr<NativeWindows> native, std::function<void()> clicked)
    : FloatingSurface(std::move(native), QStringLiteral("Vantorel older cards")),
      clicked_(std::move(clicked)) {
  setRadius(card_layout::capsuleHeight / 2);
  setToolTip(QStringLiteral("Open History"));
}

int CardCapsule::wantedWidth(int count) {
  return QFontMetrics(tokens::bodyFont()).horizontalAdvance(wordsFor(count)) + 60;
}

void CardCapsule::setCount(int count) {
  count_ = count;
  setAccessibleName(wordsFor(count) + QStringLiteral(", open History"));
  update();
}

void CardCapsule::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (underMouse()) painter.fillPath(panelPath(), floatingColors().hover);
  painter.setFont(tokens::bodyFont());
  painter.setPen(floatingColors().text);
  painter.drawText(panelRect(), Qt::AlignCenter, wordsFor(count_));
}

void CardCapsule::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && panelRect().contains(event->pos())) clicked_();
}

}  // namespace vantorel
