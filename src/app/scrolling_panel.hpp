#pragma once

#include <functional>
#include <string>

#include "base/geometry.hpp"
#include "base/image.hpp"
#include "scrolling/scrolling_canvas.hpp"

namespace vantorel {

/// How far a scrolling capture is, as its panel shows it.
struct ScrollingProgress {
  enum class Phase {
    following,  ///< what is scrolled is joined
    saving,     ///< the picture is being made
    unsaved,    ///< it could not be saved: `trouble` says why
  };

  Phase phase = Phase::following;
  ScrollingSight sight = ScrollingSight::waiting;
  int height = 0;  ///< of the picture so far, in pixels; 0 before the first frame
  Image preview;   ///< the picture so far, or its newest end, small; empty before the first frame
  std::string trouble;
};

/// The panel beside an area that is scrolled, and a thin frame round the area. It never takes the
/// focus by being shown, for the keys scroll the page. Lives on the main runner.
class ScrollingPanel {
 public:
  virtual ~ScrollingPanel() = default;

  struct Shown {
    PixelRect area;  ///< of the desktop, in its pixels; empty when that is not known

    /// Windows of this program are never in the frames, so that the panel may lie over the area
    /// where there is no place beside it.
    bool mayCover = true;

    std::function<void()> done;    ///< the user is content with what there is, or tries again
    std::function<void()> cancel;  ///< he does not want it
  };

  virtual void open(Shown shown) = 0;
  virtual void show(const ScrollingProgress& progress) = 0;
  /// The window that is captured was moved.
  virtual void moveTo(const PixelRect& area) = 0;
  /// Gives it the keyboard. False while it is not open.
  virtual bool takeKeyboard() = 0;
  /// Takes panel and frame off the screen.
  virtual void close() = 0;
};

}  // namespace vantorel
