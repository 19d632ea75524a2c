#include "ui/history/sidebar_row.hpp"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QMimeData>
#include <QPainter>
#include <QStyle>
#include <utility>

#include "ui/history/capture_mime_data.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/hover_fade.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr const char* collectionType = "application/x-vantorel-collection";
constexpr int sideMargin = tokens::space8;
constexpr int labelLeft = 40;
constexpr int dot = 10;

IconName iconOf(HistoryScope scope) {
  switch (scope) {
    case HistoryScope::all: return IconName::images;
    case HistoryScope::starred: return IconName::star;
    case HistoryScope::images: return IconName::image;
    case HistoryScope::recordings: return IconName::movie;
    case HistoryScope::texts: return IconName::textClip;
    case HistoryScope::collection: return IconName::collection;
  }
  std::unreachable();
}

}  // namespace

SidebarRow::SidebarRow(QWidget* parent) : QAbstractButton(parent) {
  setCheckable(true);
  setAutoExclusive(false);
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleRole(*this, QAccessible::ListItem);
  setAttribute(Qt::WA_Hover);
  setAcceptDrops(true);
}

void SidebarRow::show(const HistorySidebarRow& row) {
  row_ = row;
  const QString label = QString::fromStdString(row.label);
  const QString count = QLocale(QLocale::English).toString(static_cast<qulonglong>(row.count));
  setText(label);
  setChecked(row.isShown);
  const QString counted = row.count == 1 ? count + " capture" : count + " captures";
  setAccessibleName(row.isFiledInto ? label + ", " + counted + ", new captures go here"
                                    : label + ", " + counted);
  setToolTip(row.isFiledInto ? label + "\nNew captures go here" : label);
  update();
}

QSize SidebarRow::sizeHint() const {
  return {120, tokens::controlHeight(tokens::navigationRow) + 2};
}

QRect SidebarRow::labelArea() const {
  return rect().adjusted(sideMargin + labelLeft - 8, 1, -sideMargin - 4, -1);
}

void SidebarRow::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setLayoutDirection(layoutDirection());
  const QRect area = rect().adjusted(sideMargin, 1, -sideMargin, -1);
  if (isChecked()) {
    paintBox(painter, area, tokens::buttonRadius, roles.selection, Qt::NoPen);
  } else {
    const double hover = hoverPart(*this, underMouse());
    paintBox(painter, area, tokens::buttonRadius,
             isDown() ? roles.press : faded(roles.hover, hover), Qt::NoPen);
  }
  // The keys that the row's menu names are this row's then, so that it is seen after a click too.
  if (target_ == Target::captures || hasFocus()) {
    paintFocusRing(painter, QRectF(area).adjusted(2, 2, -2, -2), tokens::buttonRadius - 1,
                   roles.focus);
  } else if (target_ == Target::collection) {
    painter.fillRect(QRect(area.left(), area.top(), area.width(), 2), roles.focus);
  }
  const auto placed = [&](const QRect& one) {
    return QStyle::visualRect(layoutDirection(), rect(), one);
  };
  const QRect symbol = placed(
      QRect(area.left() + 10, area.center().y() - barIconSize / 2 + 1, barIconSize, barIconSize));
  const QColor ink = isChecked() ? roles.accentText : roles.text;
  if (row_.color) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(colorOf(*row_.color));
    painter.drawEllipse(
        QRectF(symbol.center() - QPoint(dot / 2 - 1, dot / 2 - 1), QSize(dot, dot)));
  } else {
    painter.drawPixmap(symbol.topLeft(),
                       iconPixmap(iconOf(row_.scope), symbol.size(), devicePixelRatioF(),
                                  isChecked() ? ink : roles.quiet));
  }
  const QString count = QLocale(QLocale::English).toString(static_cast<qulonglong>(row_.count));
  const QFont small = tokens::smallFont();
  const int countWidth = QFontMetrics(small).horizontalAdvance(count);
  const QRect number =
      placed(QRect(area.right() - 10 - countWidth, area.top(), countWidth + 1, area.height()));
  painter.setFont(small);
  painter.setPen(roles.quiet);
  painter.drawText(number, Qt::AlignVCenter | Qt::AlignLeft, count);
  int right = area.right() - 18 - countWidth;
  if (row_.isFiledInto) {
    right -= rowIconSize + 4;
    const QRect mark =
        placed(QRect(right + 4, area.center().y() - rowIconSize / 2 + 1, rowIconSize, rowIconSize));
    painter.drawPixmap(mark.topLeft(), iconPixmap(IconName::save, mark.size(), devicePixelRatioF(),
                                                  roles.accentText));
  }
  const int left = area.left() + labelLeft;
  const QRect label = placed(QRect(left, area.top(), std::max(8, right - left), area.height()));
  painter.setFont(font());
  painter.setPen(roles.text);
  painter.drawText(label, Qt::AlignVCenter | Qt::AlignLeading,
                   fontMetrics().elidedText(text(), Qt::ElideRight, label.width()));
}

void SidebarRow::enterEvent(QEnterEvent* event) {
  QAbstractButton::enterEvent(event);
  update();
}

void SidebarRow::mousePressEvent(QMouseEvent* event) {
  pressed_ = event->pos();
  QAbstractButton::mousePressEvent(event);
}

void SidebarRow::mouseMoveEvent(QMouseEvent* event) {
  QAbstractButton::mouseMoveEvent(event);
  if (row_.collectionID.empty() || !event->buttons().testFlag(Qt::LeftButton)) return;
  if ((event->pos() - pressed_).manhattanLength() < QApplication::startDragDistance()) return;
  auto* const drag = new QDrag(this);
  auto* const carried = new QMimeData;
  carried->setData(QLatin1String(collectionType), QByteArray::fromStdString(row_.collectionID));
  drag->setMimeData(carried);
  drag->setPixmap(grab());
  setDown(false);
  drag->exec(Qt::MoveAction);
}

/// What a key does to captures in the whole window it does to the row that has the keyboard.
bool SidebarRow::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_F2 || key == Qt::Key_Delete) event->accept();
  }
  return QAbstractButton::event(event);
}

void SidebarRow::keyPressEvent(QKeyEvent* event) {
  const bool isCollection = !row_.collectionID.empty();
  const bool isUp = event->key() == Qt::Key_Up;
  if (event->modifiers() == Qt::AltModifier && (isUp || event->key() == Qt::Key_Down)) {
    if (isCollection && onMove) onMove(isUp ? -1 : 1);
    return;
  }
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
      if (onStep) onStep(isUp ? -1 : 1);
      return;
    case Qt::Key_Return:
    case Qt::Key_Enter: return click();
    case Qt::Key_F2:
      if (isCollection && onRename) onRename();
      return;
    case Qt::Key_Delete:
      if (isCollection && onRemove) onRemove();
      return;
    default: QAbstractButton::keyPressEvent(event);
  }
}

void SidebarRow::contextMenuEvent(QContextMenuEvent* event) {
  setFocus(Qt::OtherFocusReason);
  if (!row_.collectionID.empty() && onMenu) onMenu(event->globalPos());
}

void SidebarRow::dragEnterEvent(QDragEnterEvent* event) {
  if (row_.collectionID.empty()) return;
  if (event->mimeData()->hasFormat(QLatin1String(collectionType))) {
    target_ = Target::collection;
  } else if (!draggedCaptures(*event->mimeData()).empty()) {
    target_ = Target::captures;
  } else {
    return;
  }
  event->acceptProposedAction();
  update();
}

void SidebarRow::dragLeaveEvent(QDragLeaveEvent*) {
  target_ = Target::none;
  update();
}

void SidebarRow::dropEvent(QDropEvent* event) {
  const Target target = std::exchange(target_, Target::none);
  update();
  event->acceptProposedAction();
  if (target == Target::captures && onDrop) onDrop(draggedCaptures(*event->mimeData()));
  if (target == Target::collection && onCollectionDropped) {
    onCollectionDropped(event->mimeData()->data(QLatin1String(collectionType)).toStdString());
  }
}

}  // namespace vantorel
