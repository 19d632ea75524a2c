#include "ui/help/help_row.hpp"

#include <QHBoxLayout>
#include <QPainter>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/hover_fade.hpp"
#include "ui/kit/key_caps.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int margin = 14;
constexpr int leastWords = 96;

}  // namespace

HelpRow::HelpRow(const HelpModel::Row& row, QWidget* parent)
    : QAbstractButton(parent), keys_(new KeyCaps(this)), canRun_(row.command != nullptr) {
  // Keys of windows are read, not pressed here.
  if (!canRun_) setAccessibleRole(*this, QAccessible::StaticText);
  setText(QString::fromStdString(row.title));
  keys_->setKeys(row.keys, QStringLiteral("No key"));
  auto* const line = new QHBoxLayout(this);
  line->setContentsMargins(margin, 0, margin, 0);
  line->addStretch();
  line->addWidget(keys_);
  setAttribute(Qt::WA_Hover);
  setAccessibleName(text() + QStringLiteral(", ") + keys_->words());
  const QString obstacle = QString::fromStdString(row.obstacle);
  setToolTip(!obstacle.isEmpty() ? obstacle
             : canRun_           ? QStringLiteral("%1 (%2)").arg(text(), keys_->words())
                                 : QString());
  setEnabled(obstacle.isEmpty());
  setFocusPolicy(canRun_ ? Qt::StrongFocus : Qt::NoFocus);
  if (!canRun_) setAttribute(Qt::WA_TransparentForMouseEvents);
}

QSize HelpRow::sizeHint() const {
  const int words = QFontMetrics(tokens::bodyFont()).horizontalAdvance(text());
  return {words + keys_->sizeHint().width() + 3 * margin, tokens::controlHeight(36)};
}

QSize HelpRow::minimumSizeHint() const {
  return {leastWords + keys_->sizeHint().width() + 3 * margin, sizeHint().height()};
}

void HelpRow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const PaletteRoles roles = rolesOf(palette());
  if (canRun_ && isEnabled()) {
    const double hover = hoverPart(*this, underMouse());
    paintBox(painter, QRectF(rect()).adjusted(3, 2, -3, -2), tokens::buttonRadius,
             isDown() ? roles.press : faded(roles.hover, hover), Qt::NoPen);
  }
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.text);
  if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
  const int keys = keys_->width() + 2 * margin;
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  const QRect words =
      isMirrored ? rect().adjusted(keys, 0, -margin, 0) : rect().adjusted(margin, 0, -keys, 0);
  painter.drawText(
      words, Qt::AlignVCenter | Qt::AlignLeading,
      QFontMetrics(tokens::bodyFont()).elidedText(text(), Qt::ElideRight, words.width()));
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(5, 4, -5, -4), tokens::keyCapRadius,
                   roles.focus);
  }
}

}  // namespace vantorel
