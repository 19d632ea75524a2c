#include "ui/kit/message_band.hpp"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <utility>

#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int symbolRoom = tokens::space16 + rowIconSize + tokens::space12;

}  // namespace

MessageBand::MessageBand(QWidget* parent)
    : QWidget(parent),
      sentence_(new QLabel(this)),
      action_(new QPushButton(this)),
      close_(new QToolButton(this)) {
  sentence_->setWordWrap(true);
  sentence_->setTextFormat(Qt::PlainText);
  sentence_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  close_->setIcon(icon(IconName::close));
  close_->setIconSize(QSize(rowIconSize, rowIconSize));
  close_->setAutoRaise(true);
  close_->setToolTip(QStringLiteral("Hide"));
  close_->setAccessibleName(QStringLiteral("Hide"));
  connect(close_, &QToolButton::clicked, this, [this] {
    hide();
    if (onClosed) onClosed();
  });
  connect(action_, &QPushButton::clicked, this, [this] {
    // The action may bring another sentence.
    hide();
    if (const auto action = onAction_) action();
  });
  action_->setAutoDefault(false);
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(symbolRoom, tokens::space8, tokens::space12, tokens::space8);
  row->setSpacing(tokens::space12);
  row->addWidget(sentence_, 1);
  row->addWidget(action_);
  row->addWidget(close_);
}

void MessageBand::show(const QString& sentence, const QString& actionLabel,
                       std::function<void()> action) {
  sentence_->setText(sentence);
  setAccessibleName(sentence);
  onAction_ = std::move(action);
  action_->setText(actionLabel);
  action_->setVisible(!actionLabel.isEmpty());
  QWidget::show();
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void MessageBand::setClosing(const QString& name, const QString& key) {
  close_->setAccessibleName(name);
  close_->setToolTip(name + " (" + key + ")");
}

QString MessageBand::sentence() const { return isHidden() ? QString() : sentence_->text(); }

void MessageBand::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.warningGround);
  painter.fillRect(QRect(0, height() - 1, width(), 1), roles.line);
  const QRect symbol(0, (height() - rowIconSize) / 2, rowIconSize, rowIconSize);
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  icon(IconName::warning, IconTint::warning)
      .paint(&painter,
             symbol.translated(
                 isMirrored ? width() - tokens::space16 - rowIconSize : tokens::space16, 0));
}

}  // namespace vantorel
