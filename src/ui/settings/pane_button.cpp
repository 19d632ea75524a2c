#include "ui/settings/pane_button.hpp"

#include <QPainter>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/hover_fade.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int padding = 10;

}  // namespace

PaneButton::PaneButton(const QString& title, IconName symbol, QWidget* parent)
    : QAbstractButton(parent), symbol_(symbol) {
  setText(title);
  setCheckable(true);
  setAutoExclusive(true);
  setAttribute(Qt::WA_Hover);
  setFocusPolicy(Qt::StrongFocus);
}

QSize PaneButton::sizeHint() const {
  const int words = QFontMetrics(tokens::strongFont()).horizontalAdvance(text());
  return {words + barIconSize + 3 * padding, tokens::controlHeight(tokens::navigationRow)};
}

void PaneButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const PaletteRoles roles = rolesOf(palette());
  const QColor ground = isChecked() ? roles.selection
                        : isDown()  ? roles.press
                                    : faded(roles.hover, hoverPart(*this, underMouse()));
  paintBox(painter, rect(), tokens::buttonRadius, ground, Qt::NoPen);
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  QRect symbol(padding, (height() - barIconSize) / 2, barIconSize, barIconSize);
  QRect words = rect().adjusted(2 * padding + barIconSize, 0, -padding, 0);
  if (isMirrored) {
    symbol.moveLeft(width() - padding - barIconSize);
    words = rect().adjusted(padding, 0, -2 * padding - barIconSize, 0);
  }
  vantorel::icon(symbol_, isChecked() ? IconTint::accent : IconTint::quiet).paint(&painter, symbol);
  QFont font = tokens::bodyFont();
  if (isChecked()) font.setWeight(QFont::Medium);
  painter.setFont(font);
  painter.setPen(roles.text);
  painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeading,
                   QFontMetrics(font).elidedText(text(), Qt::ElideRight, words.width()));
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), tokens::keyCapRadius,
                   roles.focus);
  }
}

}  // namespace vantorel
