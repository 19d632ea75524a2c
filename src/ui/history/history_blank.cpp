#include "ui/history/history_blank.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTimerEvent>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using Kind = HistoryBlank::Kind;

constexpr int textWidth = 340;
constexpr int leastTile = 184;  // of what loads

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
  setFollowingFont(*title_, tokens::titleFont);
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
    label->setFixedHeight(std::max(0, label->heightForWidth(textWidth)));
  }
  const bool isSearch = kind_ == Kind::nothingFound;
  first_->setVisible(isSearch ? blank.isNarrowed : kind_ == Kind::nothingCaptured);
  first_->setText(isSearch ? QStringLiteral("Search everything")
                           : QStringLiteral("Capture an area"));
  first_->setDefault(!isSearch);
  second_->setVisible(isSearch);
  setAccessibleName(title_->text());
  // Grey tiles stand for what comes.
  const bool isLoading = kind_ == Kind::loading;
  symbol_->setVisible(!isLoading);
  title_->setVisible(!isLoading);
  if (!isLoading) {
    delay_.stop();
    isLoadingShown_ = false;
    return;
  }
  text_->hide();
  loading_ = title_->text();
  if (!blank.text.empty()) loading_ += ". " + text_->text();
  if (!isLoadingShown_ && !delay_.isActive()) delay_.start(tokens::busyDelay, this);
  update();
}

void HistoryBlankPage::timerEvent(QTimerEvent* event) {
  if (event->timerId() != delay_.timerId()) return QWidget::timerEvent(event);
  delay_.stop();
  isLoadingShown_ = true;
  update();
}

void HistoryBlankPage::hideEvent(QHideEvent*) {
  delay_.stop();
  isLoadingShown_ = false;
}

void HistoryBlankPage::paintLoading() {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const int room = width() - 2 * tokens::space24;
  const int columns = std::max(1, (room + tokens::space16) / (leastTile + tokens::space16));
  const int across = (room + tokens::space16) / columns - tokens::space16;
  const QSize tile(across, qRound(across / 1.6));
  const QColor ground = mixed(roles.base, roles.text, 0.05);
  const int below = fontMetrics().height() + 2 * tokens::space16;
  int top = tokens::space24;
  for (int row = 0; row < 2 && (row == 0 || top + tile.height() + below < height()); ++row) {
    for (int column = 0; column < columns; ++column) {
      const QPoint at(tokens::space24 + column * (across + tokens::space16), top);
      paintBox(painter, QRectF(at, tile), tokens::tileRadius, ground, Qt::NoPen);
    }
    top += tile.height() + tokens::space16;
  }
  painter.setPen(roles.quiet);
  painter.drawText(QRect(tokens::space24, top, room, below),
                   Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, loading_);
}

void HistoryBlankPage::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), rolesOf(palette()).base);
  if (isLoadingShown_) paintLoading();
}

}  // namespace vantorel
