// What `HistoryView` shows.

#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "library/entry_title.hpp"
#include "ui/history/history_view.hpp"
#include "ui/history/hit_painting.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int ringGap = 4;
constexpr int starRoom = 24;  // of a list's title

}  // namespace

void HistoryView::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  painter.setLayoutDirection(layoutDirection());
  // Scrolling leaves a strip above and one below. Through both of them together everything would
  // be clipped line by line.
  for (const QRect& strip : event->region()) {
    painter.setClipRect(strip);
    paintStrip(painter, strip);
  }
  if (!std::exchange(isPainted_, true)) wantPreviewsSoon();
}

void HistoryView::paintStrip(QPainter& painter, const QRect& strip) const {
  const PaletteRoles roles = rolesOf(palette());
  painter.fillRect(strip, roles.base);
  painter.setRenderHint(QPainter::Antialiasing);
  if (layout_.sectionCount() == 0) return;
  const int offset = verticalScrollBar()->value() - columnsHeight();
  // What lies under the header that stays need not be painted for it to be painted over.
  const QRect sticky = stickyHeader();
  const int covered = std::max(columnsHeight(), sticky.isEmpty() ? 0 : sticky.bottom() + 1);
  QRect dirty = strip.translated(0, offset);
  dirty.setTop(std::max(dirty.top(), covered + offset));
  painter.translate(0, -offset);
  if (!dirty.isEmpty()) paintCaptures(painter, dirty);
  if (isBand_ && !band_.isEmpty()) {
    QColor fill = roles.focus;
    fill.setAlphaF(0.14F);
    paintBox(painter, QRectF(band_), 2, fill, QPen(roles.focus));
  }
  painter.translate(0, offset);
  if (!sticky.isEmpty()) {
    painter.fillRect(sticky, roles.base);
    paintHeader(painter, layout_.sectionAt(verticalScrollBar()->value()), sticky);
  }
  if (layout_.isList()) paintColumns(painter);
}

void HistoryView::paintCaptures(QPainter& painter, const QRect& dirty) const {
  const std::size_t last = layout_.sectionAt(dirty.bottom());
  for (std::size_t section = layout_.sectionAt(dirty.top()); section <= last; ++section) {
    const QRect area = layout_.header(section);
    if (area.intersects(dirty)) paintHeader(painter, section, area);
  }
  const auto [begin, end] = layout_.placesBetween(dirty.top() - 8, dirty.bottom() + 8);
  for (std::size_t place = begin; place < end; ++place) {
    if (!layout_.tile(place).adjusted(-8, -8, 8, 8).intersects(dirty)) continue;
    if (layout_.isList()) {
      paintRow(painter, place);
    } else {
      paintTile(painter, place, dirty);
    }
  }
}

/// The header of the day that is being looked at stays at the top. None while it stands in its
/// place.
QRect HistoryView::stickyHeader() const {
  const int top = verticalScrollBar()->value();
  const std::size_t section = layout_.sectionAt(top);
  QRect sticky = layout_.header(section);
  if (sticky.isEmpty() || sticky.top() >= top) return {};
  int y = columnsHeight();
  if (section + 1 < layout_.sectionCount()) {
    const QRect next = layout_.header(section + 1);
    if (!next.isEmpty()) y = std::min(y, next.top() - top + columnsHeight() - sticky.height());
  }
  sticky.moveTop(y);
  return sticky;
}

void HistoryView::paintHeader(QPainter& painter, std::size_t section, const QRect& area) const {
  const HistoryListing::Section& day = model_->listing().sections()[section];
  const bool isClose = layout_.isList() || viewport()->width() < narrowWidth;
  const int margin = isClose ? tokens::space16 : tokens::space24;
  paintDayHeader(painter, area.adjusted(margin, 0, -margin, 0), QString::fromStdString(day.title),
                 QString::fromStdString(day.detail), rolesOf(palette()), layoutDirection());
}

bool HistoryView::isUnreadable(const ScreenshotEntry& entry) const {
  const TilePictures::Tile* const tile = pictures_.find(entry);
  return tile != nullptr && tile->pixmap.isNull() && entry.medium == CaptureMedium::image;
}

void HistoryView::paintPicture(QPainter& painter, std::size_t place, const QRect& area,
                               bool isSmall) const {
  const ScreenshotEntry& entry = *model_->listing().at(place);
  const TilePictures::Tile* const tile = pictures_.find(entry);
  std::vector<QRectF> hits;
  if (tile != nullptr && !tile->pixmap.isNull() && !isSmall) {
    const QRectF picture(
        area.x() + tile->picture.x() * area.width(), area.y() + tile->picture.y() * area.height(),
        tile->picture.width() * area.width(), tile->picture.height() * area.height());
    hits = placedHits(model_->hitsOf(place), picture);
  }
  paintCapture(painter, area,
               {.entry = entry,
                .pixmap = tile != nullptr ? tile->pixmap : QPixmap(),
                .reach = model_->reachOf(entry),
                .isUnreadable = isUnreadable(entry),
                .isSmall = isSmall,
                .hits = std::move(hits)},
               rolesOf(palette()));
}

void HistoryView::paintTile(QPainter& painter, std::size_t place, const QRect& dirty) const {
  const PaletteRoles roles = rolesOf(palette());
  const ScreenshotEntry& entry = *model_->listing().at(place);
  const QRect tile = layout_.tile(place);
  const bool isSelected = model_->selection().contains(entry.id);
  const QRectF ring = QRectF(tile).adjusted(-ringGap, -ringGap, ringGap, ringGap - 1);
  if (isSelected) {
    paintBox(painter, ring, tokens::tileRadius + 2, roles.selection, QPen(roles.accentFill, 2));
  }
  if (isFocusShown_ && hasFocus() && model_->selection().focus() == place) {
    paintFocusRing(painter, ring.adjusted(-2, -2, 2, 2), tokens::tileRadius + 4, roles.focus);
  }
  const QRect picture(tile.topLeft(), layout_.pictureSize());
  if (picture.intersects(dirty)) paintPicture(painter, place, picture, false);
  if (isSelected) {
    const QRect mark(picture.topLeft() + QPoint(6, 6), QSize(24, 24));
    paintCheck(painter, QStyle::visualRect(layoutDirection(), picture, mark).center(), roles);
  }

  const QFontMetrics title(tokens::bodyFont());
  const QFontMetrics small(tokens::smallFont());
  const QRect caption(tile.left() + 2, picture.bottom() + captionGap, tile.width() - 4,
                      title.height());
  if (dirty.bottom() < caption.top()) return;
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.text);
  painter.drawText(caption, Qt::AlignVCenter | Qt::AlignLeading,
                   title.elidedText(lineOf(titleOf(entry)), Qt::ElideMiddle, caption.width()));
  QString below = QString::fromStdString(model_->listing().timeOf(place));
  if (entry.sourceApp) below += " · " + QString::fromStdString(entry.sourceApp->name);
  const QRect second(caption.left(), caption.bottom() + 2, caption.width(), small.height());
  if (const TextSnippet& found = model_->snippetOf(place); !found.isEmpty()) {
    return paintSnippet(painter, second, found, tokens::smallFont(), roles.quiet);
  }
  painter.setFont(tokens::smallFont());
  painter.setPen(roles.quiet);
  painter.drawText(second, Qt::AlignVCenter | Qt::AlignLeading,
                   small.elidedText(below, Qt::ElideRight, second.width()));
}

void HistoryView::paintRow(QPainter& painter, std::size_t place) const {
  const PaletteRoles roles = rolesOf(palette());
  const ScreenshotEntry& entry = *model_->listing().at(place);
  const QRect row = layout_.tile(place);
  if (model_->selection().contains(entry.id)) painter.fillRect(row, roles.selection);
  painter.fillRect(QRect(row.left(), row.bottom(), row.width(), 1), roles.line);
  if (isFocusShown_ && hasFocus() && model_->selection().focus() == place) {
    paintFocusRing(painter, QRectF(row).adjusted(3, 3, -3, -3), tokens::buttonRadius, roles.focus);
  }
  const ListColumns columns = this->columns();
  const QRect picture(
      QPoint(columns.picture(), row.top() + (row.height() - layout_.pictureSize().height()) / 2),
      layout_.pictureSize());
  paintPicture(painter, place, picture, true);
  painter.setFont(tokens::bodyFont());
  const QFontMetrics metrics(tokens::bodyFont());
  const TextSnippet& found = model_->snippetOf(place);
  for (const ListColumns::Column& column : columns.all()) {
    painter.setPen(column.what == ListColumns::What::title ? roles.text : roles.quiet);
    const bool isTitle = column.what == ListColumns::What::title;
    QRect area(column.left, row.top(), column.width, row.height());
    if (isTitle && !found.isEmpty()) {
      // The two lines stand in the row's middle together.
      const int second = QFontMetrics(tokens::smallFont()).height() + 2;
      const int top = (row.height() - metrics.height() - second) / 2;
      paintSnippet(painter,
                   {area.left(), area.top() + top + metrics.height(), area.width(), second}, found,
                   tokens::smallFont(), roles.quiet);
      painter.setFont(tokens::bodyFont());
      painter.setPen(roles.text);
      area = QRect(area.left(), area.top() + top, area.width(), metrics.height());
    }
    const int room = column.width - (isTitle && entry.starred ? starRoom : 0);
    const QString text = metrics.elidedText(listText(column.what, entry, *model_, place),
                                            isTitle ? Qt::ElideMiddle : Qt::ElideRight, room);
    painter.drawText(area, Qt::AlignVCenter | Qt::AlignLeading, text);
    if (!isTitle || !entry.starred) continue;
    // Behind the last letter.
    const QRect mark(area.left() + metrics.horizontalAdvance(text) + tokens::space4, area.top(),
                     starRoom, area.height());
    paintStar(painter, QStyle::visualRect(layoutDirection(), area, mark).center());
  }
}

void HistoryView::paintColumns(QPainter& painter) const {
  const PaletteRoles roles = rolesOf(palette());
  const QRect bar(0, 0, viewport()->width(), columnsHeight());
  painter.fillRect(bar, roles.base);
  painter.fillRect(QRect(bar.left(), bar.bottom(), bar.width(), 1), roles.line);
  painter.setFont(tokens::smallFont());
  painter.setPen(roles.quiet);
  const QFontMetrics metrics(tokens::smallFont());
  const HistorySort& sort = model_->listing().sort();
  const ListColumns columns = this->columns();
  for (const ListColumns::Column& column : columns.all()) {
    QString name = nameOf(column.what);
    const bool isSorted = sortOf(column.what) == sort.by;
    if (isSorted) name += sort.isAscending ? QStringLiteral(" ↑") : QStringLiteral(" ↓");
    painter.setPen(isSorted ? roles.text : roles.quiet);
    painter.drawText(QRect(column.left, 0, column.width, bar.height()),
                     Qt::AlignVCenter | Qt::AlignLeading,
                     metrics.elidedText(name, Qt::ElideRight, column.width));
  }
}

}  // namespace vantorel
