#include "ui/annotate/find_row.hpp"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>
#include <algorithm>

#include "ui/annotate/shown_name.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/control_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int findMargin = tokens::space16;  // of the inspector's rows
constexpr int findIndent = tokens::space24;  // of a find below its kind

}  // namespace

FindRow::FindRow(QWidget* parent) : QCheckBox(parent) {
  setAttribute(Qt::WA_Hover);
  setFocusPolicy(Qt::TabFocus);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void FindRow::show(const FindLine& line) {
  if (line == line_ && !accessibleName().isEmpty()) return;
  line_ = line;
  setTristate(!line.isPart);
  setCheckState(line.state);
  setAccessibleName(line.words);
  setAccessibleDescription(line.number);
  updateGeometry();
  update();
}

QSize FindRow::sizeHint() const {
  return {0, tokens::controlHeight(line_.isPart ? tokens::smallControl : tokens::control,
                                   tokens::bodyFont())};
}

QRect FindRow::placed(const QRect& area) const {
  return QStyle::visualRect(layoutDirection(), rect(), area);
}

QRect FindRow::arrowArea() const {
  if (line_.isPart) return {};
  return placed({width() - tokens::space8 - tokens::hitArea, (height() - tokens::hitArea) / 2,
                 tokens::hitArea, tokens::hitArea});
}

void FindRow::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QStyleOptionButton option;
  initStyleOption(&option);
  if (underMouse() && isEnabled()) {
    paintBox(painter, QRectF(rect()).adjusted(6, 1, -6, -1), tokens::buttonRadius,
             isDown() ? roles.press : roles.hover, Qt::NoPen);
  }
  const QSize check(style()->pixelMetric(QStyle::PM_IndicatorWidth, &option, this),
                    style()->pixelMetric(QStyle::PM_IndicatorHeight, &option, this));
  const int left = findMargin + (line_.isPart ? findIndent : 0);
  QStyleOptionButton mark = option;
  mark.rect = placed({left, (height() - check.height()) / 2, check.width(), check.height()});
  style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &mark, &painter, this);

  beginPart(painter, option);
  int to = width() - findMargin;
  if (!line_.isPart) {
    const QRect arrow = arrowArea();
    const QRect area = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter,
                                           QSize(rowIconSize, rowIconSize), arrow);
    const IconName folded = isRightToLeft() ? IconName::left : IconName::right;
    painter.drawPixmap(area.topLeft(), iconPixmap(line_.isFolded ? folded : IconName::down,
                                                  area.size(), devicePixelRatioF(), roles.quiet));
    to = width() - tokens::space8 - tokens::hitArea - tokens::space4;
  }
  painter.setFont(tokens::bodyFont());
  const QFontMetrics metrics = painter.fontMetrics();
  if (!line_.number.isEmpty()) {
    const int wide = metrics.horizontalAdvance(line_.number) + 2;
    to -= wide;
    painter.setPen(roles.quiet);
    painter.drawText(placed({to, 0, wide, height()}), Qt::AlignCenter, line_.number);
    to -= tokens::space8;
  }
  const int from = left + check.width() + tokens::space8;
  painter.setPen(line_.isPart ? roles.quiet : roles.text);
  const Qt::Alignment side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
  painter.drawText(placed({from, 0, std::max(0, to - from), height()}),
                   int(Qt::AlignVCenter | side) | Qt::TextSingleLine,
                   metrics.elidedText(line_.isPart ? isolated(line_.words) : line_.words,
                                      Qt::ElideMiddle, std::max(0, to - from)));
  painter.restore();
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(9, 3, -9, -3), tokens::buttonRadius - 2,
                   roles.focus);
  }
}

bool FindRow::hitButton(const QPoint& at) const {
  return rect().contains(at) && !arrowArea().contains(at);
}

/// Some of a kind become all of it.
void FindRow::nextCheckState() {
  const bool isChosen = checkState() != Qt::Checked;
  setCheckState(isChosen ? Qt::Checked : Qt::Unchecked);
  line_.state = checkState();
  if (onChosen) onChosen(isChosen);
}

void FindRow::fold(bool isFolded) {
  if (line_.isPart || isFolded == line_.isFolded) return;
  if (onFolded) onFolded(isFolded);
}

void FindRow::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && arrowArea().contains(event->pos())) {
    return fold(!line_.isFolded);
  }
  QCheckBox::mousePressEvent(event);
}

void FindRow::keyPressEvent(QKeyEvent* event) {
  const int unfolds = isRightToLeft() ? Qt::Key_Left : Qt::Key_Right;
  const int folds = isRightToLeft() ? Qt::Key_Right : Qt::Key_Left;
  if (event->key() == unfolds) return fold(false);
  if (event->key() == folds) return fold(true);
  // Up and down are the window's.
  if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) return event->ignore();
  QCheckBox::keyPressEvent(event);
}

bool FindRow::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::Enter:
    case QEvent::FocusIn:
      if (onPointed) onPointed(true);
      break;
    case QEvent::Leave:
    case QEvent::FocusOut:
    case QEvent::Hide:
      if (onPointed) onPointed(false);
      break;
    case QEvent::ToolTip: {
      // What is elided can be read there.
      const int room = width() - 2 * findMargin - findIndent - tokens::space48;
      const bool isElided = QFontMetrics(tokens::bodyFont()).horizontalAdvance(line_.words) > room;
      setToolTip(isElided ? line_.words.toHtmlEscaped() : QString());
      break;
    }
    default: break;
  }
  return QCheckBox::event(event);
}

}  // namespace vantorel
