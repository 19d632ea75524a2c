#include "editor/document_scaling.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

/// An edge this near to a whole pixel lies on it.
constexpr double nearly = 1e-9;

struct Edges {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;

  [[nodiscard]] Box box() const { return {left, top, right - left, bottom - top}; }
};

Box roundedOutwards(const Box& box) {
  return Edges{std::floor(box.x + nearly), std::floor(box.y + nearly),
               std::ceil(box.right() - nearly), std::ceil(box.bottom() - nearly)}
      .box();
}

Box united(const Box& a, const Box& b) {
  return Edges{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.right(), b.right()),
               std::max(a.bottom(), b.bottom())}
      .box();
}

/// From and to the canvas, before and after.
struct Placement {
  std::vector<LayerSpec> layersBefore;
  std::vector<LayerSpec> layersAfter;
  AxisMap toCanvasBefore;
  AxisMap toCanvasAfter;

  /// From capture pixels before to capture pixels after, for what lies on the layer `id`.
  [[nodiscard]] AxisMap mapFor(const std::optional<std::string>& id, const AxisMap& scale) const {
    for (std::size_t i = 0; id && i < layersBefore.size(); ++i) {
      if (layersBefore[i].id != *id || !layersBefore[i].path) continue;
      return toCanvasBefore.then(mapBetween(layersBefore[i].frame, layersAfter[i].frame))
          .then(toCanvasAfter.inverse());
    }
    return scale;
  }
};

/// Everything that a redaction touches, however little, stays below it.
Shape scaledRedaction(Shape shape, const Placement& placement, const AxisMap& map) {
  const Box frame = frameOf(shape);
  if (!(frame.w > 0) || !(frame.h > 0)) return mapped(std::move(shape), map);
  // Whole pixels are covered, of the capture and of the canvas it is drawn on.
  const Box onCanvas = roundedOutwards(placement.toCanvasBefore(frame));
  const Box covered = united(roundedOutwards(frame), placement.toCanvasBefore.inverse()(onCanvas));
  Box after = roundedOutwards(map(covered));
  // A layer put on whole pixels may have gone half a pixel towards the others.
  if (!placement.layersAfter.empty()) after = grown(after, 1);
  shape = mapped(std::move(shape), map);
  shape.x1 = after.x;
  shape.y1 = after.y;
  shape.x2 = after.right();
  shape.y2 = after.bottom();
  return shape;
}

/// The whole pixels that hold nothing of what lay outside.
std::pair<double, double> shrunk(double from, double to) {
  const double first = std::ceil(from - nearly);
  const double last = std::floor(to + nearly);
  if (last > first) return {first, last};
  const double only = std::floor((from + to) / 2);
  return {only, only + 1};
}

Box scaledCrop(const Box& crop, const Placement& placement, const AxisMap& scale) {
  const Box before = placement.toCanvasBefore(crop);
  // The edges are drawn at the nearest whole pixels.
  const Box drawn = Edges{std::round(before.x), std::round(before.y), std::round(before.right()),
                          std::round(before.bottom())}
                        .box();
  const Box after = scale(drawn);
  const auto [left, right] = shrunk(after.x, after.right());
  const auto [top, bottom] = shrunk(after.y, after.bottom());
  return placement.toCanvasAfter.inverse()(Edges{left, top, right, bottom}.box());
}

LayerSpec scaledLayer(LayerSpec layer, PixelSize from, PixelSize to, const AxisMap& scale) {
  const bool isWholeCapture =
      !layer.path && layer.frame.w == from.width && layer.frame.h == from.height;
  layer.frame = scale(layer.frame);
  if (isWholeCapture) {
    // Between the pixels it would be drawn blurred.
    layer.frame = {std::round(layer.frame.x), std::round(layer.frame.y), double(to.width),
                   double(to.height)};
  }
  if (!layer.path) {
    layer.pixelWidth = to.width;
    layer.pixelHeight = to.height;
  }
  if (layer.border) layer.border->width *= std::sqrt(scale.sx * scale.sy);
  return layer;
}

}  // namespace

bool haveSameProportions(PixelSize a, PixelSize b) {
  const auto product = [](int x, int y) { return std::int64_t{x} * y; };
  if (a.width < 1 || a.height < 1 || b.width < 1 || b.height < 1) return false;
  return std::abs(product(a.width, b.height) - product(a.height, b.width)) <=
         std::max({a.width, a.height, b.width, b.height});
}

EditorDocument scaledDocument(EditorDocument document, PixelSize from, PixelSize to) {
  if (from == to) return document;
  const AxisMap scale{double(to.width) / from.width, double(to.height) / from.height, 0, 0};
  const double mean = std::sqrt(scale.sx * scale.sy);
  Placement placement;
  placement.layersBefore = document.layers;
  for (LayerSpec& layer : document.layers) layer = scaledLayer(std::move(layer), from, to, scale);
  placement.layersAfter = document.layers;
  placement.toCanvasBefore = captureToCanvas(placement.layersBefore, from);
  placement.toCanvasAfter = captureToCanvas(placement.layersAfter, to);
  for (Shape& shape : document.shapes) {
    const AxisMap map = placement.mapFor(shape.layerId, scale);
    shape = shape.type == ShapeType::redact ? scaledRedaction(std::move(shape), placement, map)
                                            : mapped(std::move(shape), map);
  }
  if (document.crop) document.crop = scaledCrop(*document.crop, placement, scale);
  const CanvasSize canvas = canvasSizeOf(document.canvas, from);
  document.canvas.width = std::max(std::round(canvas.width * scale.sx), 1.0);
  document.canvas.height = std::max(std::round(canvas.height * scale.sy), 1.0);
  document.background.cornerRadius *= mean;
  return document;
}

}  // namespace vantorel
