#pragma once

#include <vector>

#include "base/geometry.hpp"
#include "editor/records/box.hpp"
#include "editor/records/layer_spec.hpp"
#include "editor/records/shape_list.hpp"

// What the redactions of a document cover. Pure; any thread.

namespace vantorel {

/// Where the redactions among `shapes` that are drawn lie, in canvas pixels.
[[nodiscard]] std::vector<Box> redactedBoxes(const ShapeList& shapes,
                                             const std::vector<LayerSpec>& layers,
                                             PixelSize capture);

/// Whether `covers` together leave nothing of `box` to be seen, but for less than half a pixel at
/// its edges.
[[nodiscard]] bool isCovered(const Box& box, const std::vector<Box>& covers);

}  // namespace vantorel
