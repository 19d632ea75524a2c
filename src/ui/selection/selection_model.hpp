#pragma once

#include <QPoint>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "capture/capture_surfaces.hpp"
#include "ui/selection/area_adjustment.hpp"
#include "ui/selection/size_entry.hpp"

namespace vantorel {

/// What the pointer and the keys have chosen so far on the frozen screen. Positions and areas are
/// device pixels on the desktop that all displays share. An area belongs to the display it began on
/// and spans from edge to edge: from pixel 10 to pixel 30 it is 20 wide. The last row and column of
/// a display stand for its edge, which the pointer cannot reach.
///
/// An area is dragged, or drawn by keys: the arrows move the pointer, Return sets the first corner,
/// arrows draw, Return ends it. What was drawn by keys, and a drag if asked, is then adjusted until
/// it is taken.
class SelectionModel {
 public:
  struct Display {
    DisplayID id;
    PixelRect area;
    double scale = 1;         ///< pixels per point of what is captured
    double drawingScale = 1;  ///< pixels per point of what is drawn over it
  };
  struct Window {
    WindowID id = 0;
    DisplayID displayID;
    PixelRect area;
    std::string title;
  };

  /// `windows` topmost first. The program's own and those not shown cannot be picked. The
  /// topmost one is chosen until the pointer moves when windows are to be picked and none lies
  /// under it.
  /// `windowScale` is pixels per point of the program's windows, which may be larger than the
  /// display asks for.
  SelectionModel(CaptureMode mode, const std::vector<DisplaySnapshot>& displays,
                 const std::vector<WindowSnapshot>& windows, QPoint pointer,
                 double windowScale = 1);

  void movePointer(QPoint to);
  void press();

  /// The end of a drag, or a click; nothing when they chose nothing, or when the area `adjusts`
  /// before it is taken.
  std::optional<CaptureTarget> release(bool adjusts = false);

  /// Space: moves the selection while it is dragged, else switches between an area and a window.
  /// An area that is adjusted is there again after the way back.
  void pressSpace();
  void releaseSpace();

  /// Return: the number being typed counts; the next step of drawing by keys, and its end; the
  /// window that stands out; else the display under the pointer. Nothing in the middle of a drag.
  std::optional<CaptureTarget> confirm();

  /// Escape: one step back; false when there is none left and the selection ends.
  bool goBack();
  [[nodiscard]] bool canGoBack() const;

  /// Moves the dragged corner, the handle that has the focus or the area; else the pointer.
  void nudge(int right, int down);

  /// Tab: the next handle or typed number, or the next window, topmost first. `by` is 1 or -1.
  void moveFocus(int by);

  /// Ctrl+A: the number being typed, else the whole display as an area to adjust.
  void selectAll();
  /// The display after this one: its whole area when that is chosen, else the pointer goes there.
  void moveToDisplay(int by);

  /// Begins to type a width or height of the area that is adjusted.
  void editSize(SizeEntry::Field field);
  /// The size that was typed counts.
  void endSizeEntry();
  /// Begins with the width when nothing is being typed.
  void typeDigit(char digit);
  void eraseDigit();
  [[nodiscard]] const std::optional<SizeEntry>& sizeEntry() const { return entry_; }

  /// What is chosen is to be scrolled, an area of so many pixels' height at least.
  void setLeastScrolledHeight(int pixels) { leastScrolledHeight_ = pixels; }
  /// 0 when it is not.
  [[nodiscard]] int leastScrolledHeight() const { return leastScrolledHeight_; }

  [[nodiscard]] CaptureMode mode() const { return mode_; }
  [[nodiscard]] bool canPickWindows() const { return !windows_.empty(); }
  [[nodiscard]] bool canChangeDisplay() const { return displays_.size() > 1; }
  [[nodiscard]] const std::vector<Display>& displays() const { return displays_; }

  /// Where the pointer belongs. It differs from where it was last seen after a nudge or when a
  /// moved selection stopped at the display's edge.
  [[nodiscard]] QPoint pointer() const { return pointer_; }
  /// An area is being dragged, or drawn by keys.
  [[nodiscard]] bool isDragging() const { return isDragging_; }
  [[nodiscard]] bool isMovingSelection() const { return move_.has_value(); }
  /// The arrows have moved the pointer, so Return sets a corner.
  [[nodiscard]] bool isDrawnByKeys() const { return isDrawnByKeys_; }
  [[nodiscard]] const AreaAdjustment* adjustment() const {
    return adjustment_ ? &*adjustment_ : nullptr;
  }

  /// The pixel to look at closely: the pointer's, or the corner's or handle's that is being moved.
  [[nodiscard]] std::optional<QPoint> detail() const;

  /// The display of the area or window chosen, else the one under the pointer.
  [[nodiscard]] const Display& display() const { return displays_[display_]; }
  /// The window under the pointer, or the one the keys went to since it moved.
  [[nodiscard]] const Window* chosenWindow() const;

  /// What stands out: the area, the window or display to be picked. Empty: nothing.
  [[nodiscard]] PixelRect chosenArea() const;

  /// The area that is adjusted, as it is now.
  [[nodiscard]] std::optional<CaptureTarget> adjustedTarget() const;

 private:
  struct Move {
    QPoint from;
    QPoint anchor;
    QPoint corner;
  };

  [[nodiscard]] std::size_t displayAt(QPoint point) const;
  [[nodiscard]] QPoint edgeAt(QPoint point) const;
  [[nodiscard]] PixelRect draggedArea() const;
  [[nodiscard]] CaptureTarget targetOf(const PixelRect& area) const;
  void endDrag();
  void adjust(const PixelRect& area);
  void takeUpAgain();

  std::vector<Display> displays_;
  std::vector<Window> windows_;
  CaptureMode mode_;
  int leastScrolledHeight_ = 0;
  QPoint pointer_;
  std::size_t display_ = 0;
  bool isDragging_ = false;
  bool isDrawnByKeys_ = false;
  QPoint anchor_;
  QPoint corner_;
  std::optional<Move> move_;
  std::optional<std::size_t> windowByKeys_;
  std::optional<AreaAdjustment> adjustment_;
  std::optional<AreaAdjustment> setAside_;  ///< for a new drag, or while a window is looked for
  std::optional<SizeEntry> entry_;
};

}  // namespace vantorel
