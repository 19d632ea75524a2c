#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "editor/records/layer_spec.hpp"
#include "editor/records/shape_list.hpp"

// How shapes and layers belong together. Pure; any thread.
//
// All shapes lie above all layers, in their own order, whatever layer they belong to. A shape moves
// and is hidden with its layer: the one it names, or the capture when it names none that exists. A
// redaction hides what lies below it, so it does more: it stays to be seen while something visible
// lies below it, and one put over several images gives each a redaction of its own, so that all
// stay covered when they part. What its own layer hides anyway does not count as below it.

namespace vantorel {

/// Whether `shape` is drawn.
[[nodiscard]] bool isShown(const Shape& shape, const std::vector<LayerSpec>& layers,
                           PixelSize capture);

/// Likewise, for many shapes. What it is asked with is no longer needed then.
[[nodiscard]] std::function<bool(const Shape&)> shownBy(const std::vector<LayerSpec>& layers,
                                                        PixelSize capture);

/// Those of `shapes` that are drawn.
[[nodiscard]] ShapeList shownShapes(const ShapeList& shapes, const std::vector<LayerSpec>& layers,
                                    PixelSize capture);

/// Whether a redaction lies over a part of a layer that could be seen without it. The capture is
/// meant when `layerID` is none or names no layer.
[[nodiscard]] bool covers(const Shape& redaction, const std::optional<std::string>& layerID,
                          const std::vector<LayerSpec>& layers, PixelSize capture);

/// The pixels of a capture that redactions among `shapes` touch, however little. What stands there
/// is to be seen nowhere.
[[nodiscard]] std::vector<PixelRect> redactedPixels(const std::vector<Shape>& shapes,
                                                    const std::vector<LayerSpec>& layers,
                                                    PixelSize capture);

/// The layer that a redaction put where it is belongs to: the topmost visible one below it, if that
/// is not the capture's and holds all of it.
[[nodiscard]] std::optional<std::string> layerBelow(const Shape& redaction,
                                                    const std::vector<LayerSpec>& layers,
                                                    PixelSize capture);

/// A redaction for each image but its own that `redaction` covers a part of, over that part and on
/// that image. Left out are those that `others` cover already.
[[nodiscard]] std::vector<Shape> sharesOf(const Shape& redaction, const ShapeList& others,
                                          const std::vector<LayerSpec>& layers, PixelSize capture);

/// `shapes` after the frames of layers changed from `before` to `after`: what lies on a layer stays
/// on it, all else stays where it was on the canvas. Layers that are gone take their shapes along.
[[nodiscard]] ShapeList carriedAlong(const ShapeList& shapes, const std::vector<LayerSpec>& before,
                                     const std::vector<LayerSpec>& after, PixelSize capture);

}  // namespace vantorel
