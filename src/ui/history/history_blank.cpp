#include "ui/history/history_blank.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using Kind = HistoryBlank::Kind;

constexpr int textWidth = 340;

IconName iconOf(Kind kind) {
  switch (kind) {
    case Kind::loading: return IconName::timer;
    case Kind::closed: return IconName::warning;
    case Kind::nothingCaptured: return IconName::area;
    case Kind::emptyScope: return IconName::images;
    case Kind::emptyCollection: return IconName::collection;
    case Kind::nothingFound: return IconName::search;
  }
  std::unreachable();
}

}  // namespace

HistoryBlankPage::HistoryBlankPage(std::shared_ptr<HistoryModel> model, QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      symbol_(new QLabel),
      title_(new QLabel),
      text_(new QLabel),
      first_(new QPushButton),
      second_(new QPushButton) {
  setObjectName(QStringLiteral("blank"));
  setFocusPolicy(Qt::ClickFocus);
  hide();
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(tokens::space24, tokens::space24, tokens::space24, tokens::space24);
  column->setSpacing(tokens::space12);
  column->addStretch(2);
  title_->setFont(tokens::titleFont());
  for (QLabel* const label : {symbol_, title_, text_}) {
    label->setAlignment(Qt::AlignCenter);
    label->setTextFormat(Qt::PlainText);
    column->addWidget(label, 0, Qt::AlignHCenter);
  }
  for (QLabel* const label : {title_, text_}) {
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
  }
  text_->setForegroundRole(QPalette::PlaceholderText);
  auto* const buttons = new QHBoxLayout;
  buttons->setSpacing(tokens::space12);
  buttons->addStretch(1);
  buttons->addWidget(first_);
  buttons->addWidget(second_);
  buttons->addStretch(1);
  column->addSpacing(tokens::space4);
  column->addLayout(buttons);
  column->addStretch(3);
  second_->setFlat(true);
  second_->setText(QStringLiteral("Clear"));
  connect(first_, &QPushButton::clicked, this, [this] {
    if (kind_ == Kind::nothingCaptured) return model_->captureArea();
    if (onSearchEverything) onSearchEverything();
  });
  connect(second_, &QPushButton::clicked, this, [this] {
    if (onClear) onClear();
  });
}

void HistoryBlankPage::show(const HistoryBlank& blank) {
  kind_ = blank.kind;
  symbol_->setPixmap(icon(iconOf(blank.kind), IconTint::quiet)
                         .pixmap(QSize(emptyIconSize, emptyIconSize), devicePixelRatioF()));
  title_->setText(QString::fromStdString(blank.title));
  text_->setText(QString::fromStdString(blank.text));
  text_->setVisible(!blank.text.empty());
  // A layout that centers a label gives it the height of one line.
  for (QLabel* const label : {title_, text_}) {
    label->setFixedHeight(label->heightForWidth(textWidth));
  }
  const bool isSearch = kind_ == Kind::nothingFound;
  first_->setVisible(isSearch || kind_ == Kind::nothingCaptured);
  first_->setText(isSearch ? QStringLiteral("Search everything")
                           : QStringLiteral("Capture an area"));
  first_->setDefault(!isSearch);
  second_->setVisible(isSearch);
  setAccessibleName(title_->text());
}

void HistoryBlankPage::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), rolesOf(palette()).base);
}

}  // namespace vantorel
