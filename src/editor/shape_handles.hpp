#pragma once

#include <functional>
#include <optional>
#include <variant>
#include <vector>

#include "editor/records/shape.hpp"
#include "editor/shape_geometry.hpp"

// Where a shape can be touched and what happens when it is pulled there. Pure; any thread.

namespace vantorel {

/// The box that the lines of a `text` shape fill, in the shape's coordinates: with its wrapping
/// width, when it has one. Needs fonts, so it is handed in by whoever draws.
using MeasureText = std::function<Box(const Shape&)>;

/// The box around a shape's geometry, without its stroke: where selection handles sit.
[[nodiscard]] Box selectionFrame(const Shape& shape, const MeasureText& measureText);

/// True when a click at `point` means this shape: on its line, in its filled or covered area, or
/// within `tolerance` pixels of it.
[[nodiscard]] bool hits(const Shape& shape, Pt point, double tolerance,
                        const MeasureText& measureText);

/// True when any part of the shape's frame lies in `box` (rubber-band selection).
[[nodiscard]] bool touches(const Shape& shape, const Box& box, const MeasureText& measureText);

/// One of the two defining points of a line.
struct EndpointHandle {
  int index = 0;  ///< 0 the start, 1 the end
};

/// A corner or the middle of an edge of a frame, with the frame at the start of the drag; the
/// opposite corner or edge stays put.
struct ResizeHandle {
  Box startFrame;
  Pt position;  ///< 0 or 1 on each axis; 0.5 on the one along an edge, which pulling leaves as it
                ///< is
};

struct BowHandle {};

enum class TextBoxHandle {
  width,      ///< right edge: sets the wrapping width
  widthLeft,  ///< left edge: sets it and moves the anchor
  scale,      ///< lower right corner: changes the font size
  move,
};

struct ShapeHandle {
  std::variant<EndpointHandle, ResizeHandle, BowHandle, TextBoxHandle> kind;
  Pt at;
};

/// The handles a selected shape offers, those drawn on top first: a line its ends, and an arrow its
/// bow; all else those of its frame, whose corners are the defining points of most kinds.
[[nodiscard]] std::vector<ShapeHandle> handlesOf(const Shape& shape,
                                                 const MeasureText& measureText);

/// The handles of a text box being edited, beside its inside, which moves it.
[[nodiscard]] std::vector<ShapeHandle> textBoxHandles(const Shape& text,
                                                      const MeasureText& measureText);

/// The handles of a frame: its corners, and the middles of its edges.
[[nodiscard]] std::vector<ShapeHandle> frameHandles(const Box& frame);

enum class Proportions { free, kept };

/// The frame that results from pulling a handle to `point`. Its sides turn negative when the handle
/// is pulled past the opposite one, and are never shorter than one pixel. With proportions kept, an
/// edge takes the others along around its middle.
[[nodiscard]] Box pulledFrame(const ResizeHandle& handle, Pt point, Proportions proportions);

/// `start` (the shape at the start of the drag) with its endpoint at `point`.
[[nodiscard]] Shape withEndpoint(Shape start, EndpointHandle handle, Pt point, bool snap);

/// `start` stretched so that its frame becomes the one pulled. Strokes keep their width; what is
/// placed at a point keeps its proportions.
[[nodiscard]] Shape resized(const Shape& start, const ResizeHandle& handle, Pt point,
                            Proportions proportions);

/// `shape`, whose frame is `frame`, made wider and higher from its top left corner; a line's end
/// goes by as much. Never smaller than a pixel.
[[nodiscard]] Shape enlarged(const Shape& shape, double dw, double dh, const Box& frame);

/// `start` with its text box pulled by `handle` from `grabbed` to `point`. `frame` is the text's
/// box at the start of the drag.
[[nodiscard]] Shape withTextBox(Shape start, TextBoxHandle handle, const Box& frame, Pt grabbed,
                                Pt point);

}  // namespace vantorel
