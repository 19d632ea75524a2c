#pragma once

#include <QPoint>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "capture/capture_surfaces.hpp"

namespace vantorel {

/// What the pointer and the keys have chosen so far on the frozen screen. Positions and areas are
/// device pixels on the desktop that all displays share. A drag belongs to the display it began on
/// and spans from edge to edge: from pixel 10 to pixel 30 it is 20 wide. The last row and column of
/// a display stand for its edge, which the pointer cannot reach.
class SelectionModel {
 public:
  struct Display {
    DisplayID id;
    PixelRect area;
    double scale = 1;
  };
  struct Window {
    WindowID id = 0;
    DisplayID displayID;
    PixelRect area;
    std::string title;
  };

  /// `windows` topmost first. The program's own and the minimised ones cannot be picked.
  SelectionModel(CaptureMode mode, const std::vector<DisplaySnapshot>& displays,
                 const std::vector<WindowSnapshot>& windows, QPoint pointer);

  void movePointer(QPoint to);
  void press();

  /// The end of a drag, or a click; nothing when they chose nothing.
  std::optional<CaptureTarget> release();

  /// Space: moves the selection while it is dragged, else switches between an area and a window.
  void pressSpace();
  void releaseSpace();

  /// Return: the whole display under the pointer, but not in the middle of a drag.
  [[nodiscard]] std::optional<CaptureTarget> confirm() const;

  /// Moves the dragged corner, or without a drag the pointer.
  void nudge(int right, int down);

  [[nodiscard]] CaptureMode mode() const { return mode_; }
  [[nodiscard]] bool canPickWindows() const { return !windows_.empty(); }
  [[nodiscard]] const std::vector<Display>& displays() const { return displays_; }

  /// Where the pointer belongs. It differs from where it was last seen after a nudge or when a
  /// moved selection stopped at the display's edge.
  [[nodiscard]] QPoint pointer() const { return pointer_; }
  [[nodiscard]] bool isDragging() const { return isDragging_; }
  [[nodiscard]] bool isMovingSelection() const { return move_.has_value(); }

  /// The display dragged on, else the one under the pointer.
  [[nodiscard]] const Display& display() const { return displays_[display_]; }
  [[nodiscard]] const Window* windowUnderPointer() const;

  /// What stands out: the dragged area, the window or display to be picked. Empty: nothing.
  [[nodiscard]] PixelRect chosenArea() const;

 private:
  struct Move {
    QPoint from;
    QPoint anchor;
    QPoint corner;
  };

  [[nodiscard]] std::size_t displayAt(QPoint point) const;
  [[nodiscard]] QPoint edgeAt(QPoint point) const;
  [[nodiscard]] PixelRect draggedArea() const;

  std::vector<Display> displays_;
  std::vector<Window> windows_;
  CaptureMode mode_;
  QPoint pointer_;
  std::size_t display_ = 0;
  bool isDragging_ = false;
  QPoint anchor_;
  QPoint corner_;
  std::optional<Move> move_;
};

}  // namespace vantorel
