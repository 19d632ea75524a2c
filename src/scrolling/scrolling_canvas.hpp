#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/image.hpp"
#include "scrolling/frame_match.hpp"
#include "scrolling/scroll_frame.hpp"
#include "scrolling/tall_changes.hpp"

namespace vantorel {

/// What a session sees at a moment. A refusal may last for one frame of an animation only: who
/// shows it to people waits a quarter of a second whether the next frame is joined.
enum class ScrollingSight {
  waiting,      ///< one frame so far, or the page stands still
  joined,       ///< the page moved and the picture holds what came
  tooFast,      ///< the page moved too far; it goes on when the user scrolls back
  panes,        ///< two parts of the area move, unlike
  nothing,      ///< too little can be seen to follow, or it fits several ways alike
  full,         ///< what came would make the picture larger than pictures may get
  scaleChanged  ///< the frame has another scale or size, or no pixels: the session is over
};

/// Pixels that a tall picture may have: 134 million, as many as every reader of the library takes.
inline constexpr std::int64_t maximumTallPixels = std::int64_t{1} << 27U;

/// Joins the frames of one area, while its page is scrolled up or down, into one tall picture. What
/// sticks to the area's top and bottom is in the picture once; what stays still at its side is
/// where it was in the first frame, and elsewhere its commonest color is. Frames between two pixels
/// of an animation are replaced by those that follow. An area must be higher than 208 pixels to be
/// joined. Holds up to three frames. One thread at a time.
class ScrollingCanvas {
 public:
  struct Step {
    ScrollingSight sight = ScrollingSight::waiting;
    int height = 0;    ///< rows of the picture so far
    int position = 0;  ///< where the frame begins, in rows below the first one's top
    FrameMatch match;  ///< with the frame that the picture knew last
  };

  /// `mostPixels` of the whole picture.
  explicit ScrollingCanvas(std::int64_t mostPixels = maximumTallPixels);
  ScrollingCanvas(ScrollingCanvas&&) noexcept;
  ScrollingCanvas& operator=(ScrollingCanvas&&) noexcept;
  ~ScrollingCanvas();

  Step add(const ScrollFrame& frame, const ScrollFrameScale& scale);

  /// Of the picture so far; empty before the first frame.
  [[nodiscard]] PixelSize size() const;

  /// Whether a join has made it taller than one frame.
  [[nodiscard]] bool hasGrown() const;

  /// The picture so far, shrunk into `within` (in pixels) by leaving out rows and columns; the
  /// newest end of it where it is so tall that it would be narrower than `leastWidth`.
  [[nodiscard]] Image preview(PixelSize within, int leastWidth) const;

  /// What has changed since `known`, pixels of at most `most` pieces of 256 rows and of what sticks
  /// to top and bottom. Nothing while the picture has not grown.
  [[nodiscard]] TallChanges changes(const TallState& known, std::size_t most) const;

  /// The picture. The canvas is empty afterwards; at no time are there two of it.
  [[nodiscard]] Image finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantorel
