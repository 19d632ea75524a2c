#pragma once

#include <optional>

#include "editor/canvas_size.hpp"
#include "editor/editor_model.hpp"

// How a crop frame that is there is given other proportions or a typed size.

namespace vantorel {

/// Width by height; none for a free one.
[[nodiscard]] std::optional<double> cropRatio(CropAspect aspect);

/// The largest frame of these proportions within `frame`, about its middle, in whole pixels.
[[nodiscard]] Box fittedToRatio(const Box& frame, double ratio);

/// Holds crop frames to `aspect` from now on, the one being drawn at once.
void chooseCropAspect(EditorModel& editor, CropAspect aspect);

/// Gives the frame being drawn a size in whole pixels about its middle; without one, in the middle
/// of the canvas. Where proportions are held, the side that was typed decides: `width` does unless
/// `heightDecides`. It lies within the canvas where that has room for it. False for no possible
/// size.
bool setCropSize(EditorModel& editor, double width, double height, bool heightDecides);

}  // namespace vantorel
