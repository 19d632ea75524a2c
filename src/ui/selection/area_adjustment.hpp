#pragma once

#include <QPoint>
#include <array>
#include <optional>

#include "base/geometry.hpp"

namespace vantorel {

/// What of an area is held: an edge or corner each way, -1 the left or upper, 1 the right or lower;
/// 0 both ways holds all of it.
struct AreaGrip {
  int across = 0;
  int down = 0;

  [[nodiscard]] bool isHandle() const { return across != 0 || down != 0; }
  bool operator==(const AreaGrip&) const = default;
};

/// The eight handles, clockwise from the upper left.
inline constexpr std::array<AreaGrip, 8> areaHandles{
    {{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}}};

/// An area that is put right before it is taken: its handles move its edges, its inside moves it,
/// by pointer or by keys. A handle that goes past the opposite one becomes that one. The area never
/// leaves its display and keeps at least a pixel each way. All in device pixels.
class AreaAdjustment {
 public:
  /// `area` lies within `bounds` and is not empty. `reach` is how far from a handle's middle the
  /// pointer may be to hold it.
  AreaAdjustment(const PixelRect& area, const PixelRect& bounds, int reach);

  [[nodiscard]] const PixelRect& area() const { return area_; }

  /// Where the handle is drawn: on the area's edge.
  [[nodiscard]] QPoint placeOf(AreaGrip handle) const;

  /// What the pointer would hold at `point`; nothing outside.
  [[nodiscard]] std::optional<AreaGrip> gripAt(QPoint point) const;

  void hold(AreaGrip grip, QPoint at);
  void drag(QPoint to);
  void letGo() { held_.reset(); }
  /// Undoes the drag under way; false when there is none.
  bool putBack();
  /// What is held, as it is now that it may have gone past the opposite side.
  [[nodiscard]] std::optional<AreaGrip> held() const;

  /// What the arrow keys move: a handle, or the whole area.
  [[nodiscard]] AreaGrip focus() const { return focus_; }
  void setFocus(AreaGrip grip) { focus_ = grip; }
  /// To the next handle, or the one before; from and to the whole area in between.
  void moveFocus(int by);
  void nudge(int right, int down);

  /// Keeps the upper left corner while there is room.
  void resize(PixelSize size);

 private:
  struct Held {
    AreaGrip grip;  // as it was taken hold of
    QPoint from;
    PixelRect area;
  };

  /// Moves what has the focus.
  void move(QPoint by);

  PixelRect area_;
  PixelRect bounds_;
  int reach_;
  AreaGrip focus_;
  std::optional<Held> held_;
};

}  // namespace vantorel
