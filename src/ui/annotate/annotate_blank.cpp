#include "ui/annotate/annotate_blank.hpp"

#include <QAccessible>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int sentenceWidth = 340;

}  // namespace

AnnotateBlank::AnnotateBlank(QWidget* parent)
    : QWidget(parent),
      symbol_(new QLabel),
      sentence_(new QLabel),
      remove_(new QPushButton(QStringLiteral("Remove from History"))) {
  setObjectName(QStringLiteral("blank"));
  auto* const column = new QVBoxLayout(this);
  column->setSpacing(tokens::space16);
  column->addStretch(2);
  for (QLabel* const label : {symbol_, sentence_}) {
    label->setAlignment(Qt::AlignCenter);
    label->setTextFormat(Qt::PlainText);
    column->addWidget(label, 0, Qt::AlignHCenter);
  }
  sentence_->setWordWrap(true);
  sentence_->setFixedWidth(sentenceWidth);
  column->addWidget(remove_, 0, Qt::AlignHCenter);
  column->addStretch(3);
  connect(remove_, &QPushButton::clicked, this, [this] {
    if (onRemove) onRemove();
  });
  hide();
}

void AnnotateBlank::show(const QString& sentence, bool offersRemove) {
  symbol_->setPixmap(icon(IconName::warning, IconTint::quiet)
                         .pixmap(QSize(emptyIconSize, emptyIconSize), devicePixelRatioF()));
  sentence_->setText(sentence);
  // A layout that centers a label gives it the height of one line.
  sentence_->setFixedHeight(std::max(0, sentence_->heightForWidth(sentenceWidth)));
  remove_->setVisible(offersRemove);
  setAccessibleName(sentence);
  QWidget::show();
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void AnnotateBlank::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), rolesOf(palette()).work);
}

}  // namespace vantorel
