#include "ui/scrolling/scrolling_panel_place.hpp"

#include <algorithm>
#include <array>
#include <limits>

#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int gap = tokens::space12;   // from the area, with its frame between
constexpr int edge = tokens::space16;  // from the display's edges where it stands free

int centered(int low, int length, int size) { return low + (length - size) / 2; }

/// Moved into `display` as far as it fits.
QRect within(QRect box, const QRect& display) {
  box.moveLeft(std::clamp(box.left(), display.left(),
                          std::max(display.left(), display.right() + 1 - box.width())));
  box.moveTop(std::clamp(box.top(), display.top(),
                         std::max(display.top(), display.bottom() + 1 - box.height())));
  return box;
}

/// Beside what is captured, on the same display.
std::optional<QRect> beside(const ScrollingRoom& room, QSize size, bool isMirrored) {
  const QRect& area = room.captured;
  const int x = centered(area.left(), area.width(), size.width());
  const int y = area.bottom() + 1 - size.height();
  const QRect right(QPoint(area.right() + 1 + gap, y), size);
  const QRect left(QPoint(area.left() - gap - size.width(), y), size);
  const std::array<QRect, 4> wanted{QRect(QPoint(x, area.bottom() + 1 + gap), size),
                                    QRect(QPoint(x, area.top() - gap - size.height()), size),
                                    isMirrored ? left : right, isMirrored ? right : left};
  for (const QRect& box : wanted) {
    const QRect placed = within(box, room.display);
    if (room.display.contains(placed) && !placed.intersects(area)) return placed;
  }
  return std::nullopt;
}

/// On a display of which nothing is captured, toward what is.
std::optional<QRect> elsewhere(const ScrollingRoom& room, QSize size, QPoint middle) {
  const QRect inner = room.display.adjusted(edge, edge, -edge, -edge);
  QRect box(QPoint(), size);
  box.moveCenter(middle);
  box = within(box, inner);
  return room.display.contains(box) ? std::optional(box) : std::nullopt;
}

QRect leastCovering(const ScrollingRoom& room, QSize size, bool isMirrored) {
  const QRect inner = room.display.adjusted(edge, edge, -edge, -edge);
  const int left = inner.left();
  const int right = std::max(left, inner.right() + 1 - size.width());
  const int bottom = std::max(inner.top(), inner.bottom() + 1 - size.height());
  // Pages begin at the top and where lines begin: there it would be most in the way.
  const int begin = isMirrored ? right : left;
  const int end = isMirrored ? left : right;
  QRect best;
  qint64 least = std::numeric_limits<qint64>::max();
  for (const QPoint corner : {QPoint(end, bottom), QPoint(begin, bottom), QPoint(end, inner.top()),
                              QPoint(begin, inner.top())}) {
    const QRect box(corner, size);
    const QRect common = box & room.captured;
    const qint64 covered = common.isEmpty() ? 0 : qint64{common.width()} * common.height();
    if (covered >= least) continue;
    best = box;
    least = covered;
  }
  return best;
}

}  // namespace

ScrollingPanelPlace placeScrollingPanel(const std::vector<ScrollingRoom>& rooms, QSize withPreview,
                                        QSize alone, bool isMirrored) {
  const ScrollingRoom& home = rooms.front();
  const std::array<std::pair<QSize, bool>, 2> sizes{{{withPreview, true}, {alone, false}}};
  for (const auto& [size, hasPreview] : sizes) {
    const auto panel = home.captured.isEmpty()
                           ? elsewhere(home, size, {home.display.right(), home.display.bottom()})
                           : beside(home, size, isMirrored);
    if (panel) return {*panel, hasPreview, false};
  }
  for (const auto& [size, hasPreview] : sizes) {
    for (std::size_t i = 1; i < rooms.size(); ++i) {
      const auto panel = rooms[i].captured.isEmpty()
                             ? elsewhere(rooms[i], size, home.captured.center())
                             : beside(rooms[i], size, isMirrored);
      if (panel) return {*panel, hasPreview, false};
    }
  }
  const QRect panel = leastCovering(home, alone, isMirrored);
  return {panel, false, panel.intersects(home.captured)};
}

}  // namespace vantorel
