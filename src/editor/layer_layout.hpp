#pragma once

#include <vector>

#include "base/geometry.hpp"
#include "editor/canvas_size.hpp"
#include "editor/records/combine_spec.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/shape_geometry.hpp"

// Where layers lie. Pure; any thread.

namespace vantorel {

/// True for a finite box with some width and height.
[[nodiscard]] bool hasArea(const Box& box);

/// The layer that stands for the capture itself; null when the document has none, and the capture
/// lies at the canvas's top left corner below all layers.
[[nodiscard]] const LayerSpec* captureLayer(const std::vector<LayerSpec>& layers);

/// From capture pixels (shapes, crop) to canvas pixels (layers): follows the capture's layer.
[[nodiscard]] AxisMap captureToCanvas(const std::vector<LayerSpec>& layers, PixelSize capture);

/// The canvas in whole pixels; the capture's size when the document states none.
[[nodiscard]] CanvasSize canvasSizeOf(const CanvasSpec& canvas, PixelSize capture);

/// Pieces laid out from the top left corner.
struct Arrangement {
  std::vector<Box> frames;
  CanvasSize canvas;
};

/// Lays `frames` out at their sizes, `gutter` pixels apart: in a row, in a column, or row by row in
/// a grid as square as their number allows. Pieces are centred in their row, column or cell.
[[nodiscard]] Arrangement arranged(const std::vector<Box>& frames, CombineLayout layout,
                                   double gutter);

/// Turns an older way of joining captures into layers: the capture first, then its attachments.
/// `document` has neither layers nor a canvas yet.
void addAsLayers(const CombineSpec& combine, PixelSize capture, EditorDocument& document);

/// A new layer for the capture itself, at the canvas's top left corner.
[[nodiscard]] LayerSpec newCaptureLayer(PixelSize capture);

/// A new layer that shows an image file at its own size, with its top left corner at `corner`.
[[nodiscard]] LayerSpec newImageLayer(std::string path, PixelSize pixels, Pt corner);

}  // namespace vantorel
