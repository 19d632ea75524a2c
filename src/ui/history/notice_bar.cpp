#include "ui/history/notice_bar.hpp"

#include <QAccessible>
#include <QPainter>
#include <QStyle>
#include <algorithm>
#include <cmath>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/floating_bar.hpp"
#include "ui/kit/floating_button.hpp"
#include "ui/kit/palette_roles.hpp"

namespace vantorel {
namespace {

using floating_bar::shadow;

constexpr int barHeight = 44;
constexpr int mostWidth = 640;  // of the words, px; more of them go on below
constexpr int buttonSide = 28;
constexpr int symbolRoom = rowIconSize + tokens::space12;

constexpr int wrapping = Qt::AlignVCenter | Qt::AlignLeading | Qt::TextWordWrap;

}  // namespace

NoticeBar::NoticeBar(QWidget* parent)
    : QWidget(parent),
      hide_(new FloatingButton(IconName::close, QStringLiteral("Hide"), {}, this)) {
  setAccessibleRole(*this, QAccessible::AlertMessage);
  setObjectName(QStringLiteral("notice"));
  hide_->setToolTip(QStringLiteral("Hide (Esc)"));
  connect(hide_, &QAbstractButton::clicked, this, [this] {
    if (onHidden) onHidden();
  });
  hide();
}

void NoticeBar::show(const std::optional<HistoryNotice>& notice) {
  if (!notice) return entrance_.leave();
  text_ = QString::fromStdString(notice->text);
  if (!notice->detail.empty()) text_ += " " + QString::fromStdString(notice->detail);
  QWidget::show();
  entrance_.enter();
  setAccessibleName(text_);
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
  place();
  raise();
  update();
}

void NoticeBar::setBottom(int bottom) {
  bottom_ = bottom;
  place();
}

void NoticeBar::place() {
  if (entrance_.isAway()) hide();
  const int begin = shadow + tokens::space16 + symbolRoom;
  const int beside = begin + tokens::space8 + buttonSide + tokens::space8 + shadow;
  const int room = parentWidget()->width() - 2 * tokens::space8 + 2 * shadow - beside;
  const QFontMetrics metrics(tokens::bodyFont());
  const QSize words =
      metrics.boundingRect(QRect(0, 0, std::clamp(room, 40, mostWidth), 1000), wrapping, text_)
          .size();
  const int height = std::max(tokens::controlHeight(barHeight), words.height() + tokens::space24);
  const int width = beside + words.width() + 2;
  // It comes from the edge below.
  const int way = parentWidget()->height() - bottom_ + height;
  const int y = bottom_ - height + static_cast<int>(std::lround(way * (1 - entrance_.part())));
  setGeometry((parentWidget()->width() - width) / 2, y - shadow, width, height + 2 * shadow);
  words_ = placed({begin, shadow, words.width() + 2, height});
  hide_->setGeometry(placed({width - shadow - tokens::space8 - buttonSide,
                             shadow + (height - buttonSide) / 2, buttonSide, buttonSide}));
}

QRect NoticeBar::placed(const QRect& area) const {
  return QStyle::visualRect(layoutDirection(), rect(), area);
}

void NoticeBar::paintEvent(QPaintEvent*) {
  const FloatingColors& colors = floatingColors();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setLayoutDirection(layoutDirection());
  floating_bar::paint(painter, QRectF(rect()).adjusted(shadow, shadow, -shadow, -shadow));
  const QRect symbol =
      placed({shadow + tokens::space16, (height() - rowIconSize) / 2, rowIconSize, rowIconSize});
  painter.drawPixmap(symbol.topLeft(),
                     iconPixmap(IconName::info, symbol.size(), devicePixelRatioF(), colors.text));
  painter.setFont(tokens::bodyFont());
  painter.setPen(colors.text);
  painter.drawText(words_, wrapping, text_);
}

}  // namespace vantorel
