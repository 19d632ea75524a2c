#include "editor/shape_layers.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <utility>

#include "base/random_id.hpp"
#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

/// An image as shapes see it.
struct Sheet {
  std::string id;  // empty for the capture of a document that has no layer for it
  Box frame;       // in canvas pixels
  bool isCapture = false;
  bool isVisible = true;
  bool isOpaque = true;
};

std::vector<Sheet> sheetsOf(const std::vector<LayerSpec>& layers, PixelSize capture) {
  std::vector<Sheet> sheets;
  const LayerSpec* const ownLayer = captureLayer(layers);
  if (ownLayer == nullptr) {
    sheets.push_back({"", {0, 0, double(capture.width), double(capture.height)}, true});
  }
  for (const LayerSpec& layer : layers) {
    Sheet sheet{layer.id, layer.frame, &layer == ownLayer, layer.visible};
    if (!hasArea(sheet.frame)) {
      sheet.frame = {0, 0, double(layer.pixelWidth), double(layer.pixelHeight)};
    }
    sheet.isOpaque = layer.opacity.value_or(1) >= 1;
    sheets.push_back(std::move(sheet));
  }
  return sheets;
}

std::size_t ownerOf(const std::optional<std::string>& layerID, const std::vector<Sheet>& sheets) {
  auto owner = layerID ? std::ranges::find(sheets, *layerID, &Sheet::id) : sheets.end();
  if (owner == sheets.end()) owner = std::ranges::find(sheets, true, &Sheet::isCapture);
  return static_cast<std::size_t>(owner - sheets.begin());
}

Box common(const Box& a, const Box& b) {
  const double left = std::max(a.x, b.x);
  const double top = std::max(a.y, b.y);
  return {left, top, std::min(a.right(), b.right()) - left, std::min(a.bottom(), b.bottom()) - top};
}

bool holds(const Box& outer, const Box& box) {
  return box.x >= outer.x && box.y >= outer.y && box.right() <= outer.right() &&
         box.bottom() <= outer.bottom();
}

/// Whether a redaction of `owner` covers, with `box`, something of another sheet.
bool coversSheet(const Box& box, std::size_t owner, std::size_t other,
                 const std::vector<Sheet>& sheets) {
  if (!hasArea(common(box, sheets[other].frame))) return false;
  return other >= owner || !sheets[owner].isOpaque || !holds(sheets[owner].frame, box);
}

void setFrame(Shape& shape, const Box& box) {
  shape.x1 = box.x;
  shape.y1 = box.y;
  shape.x2 = box.right();
  shape.y2 = box.bottom();
}

}  // namespace

std::function<bool(const Shape&)> shownBy(const std::vector<LayerSpec>& layers, PixelSize capture) {
  if (std::ranges::all_of(layers, &LayerSpec::visible)) return [](const Shape&) { return true; };
  return [sheets = sheetsOf(layers, capture),
          toCanvas = captureToCanvas(layers, capture)](const Shape& shape) {
    const std::size_t owner = ownerOf(shape.layerId, sheets);
    if (sheets[owner].isVisible) return true;
    if (shape.type != ShapeType::redact) return false;
    const Box box = toCanvas(frameOf(shape));
    for (std::size_t i = 0; i < sheets.size(); ++i) {
      if (sheets[i].isVisible && coversSheet(box, owner, i, sheets)) return true;
    }
    return false;
  };
}

bool isShown(const Shape& shape, const std::vector<LayerSpec>& layers, PixelSize capture) {
  return shownBy(layers, capture)(shape);
}

ShapeList shownShapes(const ShapeList& shapes, const std::vector<LayerSpec>& layers,
                      PixelSize capture) {
  ShapeList shown;
  shown.reserve(shapes.size());
  const auto isSeen = shownBy(layers, capture);
  std::ranges::copy_if(shapes, std::back_inserter(shown),
                       [&](const auto& shape) { return isSeen(*shape); });
  return shown;
}

bool covers(const Shape& redaction, const std::optional<std::string>& layerID,
            const std::vector<LayerSpec>& layers, PixelSize capture) {
  const std::vector<Sheet> sheets = sheetsOf(layers, capture);
  const Box box = captureToCanvas(layers, capture)(frameOf(redaction));
  return coversSheet(box, ownerOf(redaction.layerId, sheets), ownerOf(layerID, sheets), sheets);
}

std::vector<PixelRect> redactedPixels(const std::vector<Shape>& shapes,
                                      const std::vector<LayerSpec>& layers, PixelSize capture) {
  std::vector<PixelRect> areas;
  for (const Shape& shape : shapes) {
    if (shape.type != ShapeType::redact || !covers(shape, std::nullopt, layers, capture)) continue;
    const Box box = common(frameOf(shape), {0, 0, double(capture.width), double(capture.height)});
    if (!hasArea(box)) continue;
    const int left = static_cast<int>(std::floor(box.x));
    const int top = static_cast<int>(std::floor(box.y));
    areas.push_back({left, top, static_cast<int>(std::ceil(box.right())) - left,
                     static_cast<int>(std::ceil(box.bottom())) - top});
  }
  return areas;
}

std::optional<std::string> layerBelow(const Shape& redaction, const std::vector<LayerSpec>& layers,
                                      PixelSize capture) {
  const std::vector<Sheet> sheets = sheetsOf(layers, capture);
  const Box box = captureToCanvas(layers, capture)(frameOf(redaction));
  for (auto sheet = sheets.rbegin(); sheet != sheets.rend(); ++sheet) {
    if (!sheet->isVisible || !hasArea(common(box, sheet->frame))) continue;
    return !sheet->isCapture && holds(sheet->frame, box) ? std::optional(sheet->id) : std::nullopt;
  }
  return std::nullopt;
}

std::vector<Shape> sharesOf(const Shape& redaction, const ShapeList& others,
                            const std::vector<LayerSpec>& layers, PixelSize capture) {
  const std::vector<Sheet> sheets = sheetsOf(layers, capture);
  const AxisMap map = captureToCanvas(layers, capture);
  const Box box = map(frameOf(redaction));
  const std::size_t owner = ownerOf(redaction.layerId, sheets);
  std::vector<Shape> shares;
  for (std::size_t i = 0; i < sheets.size(); ++i) {
    if (i == owner || !sheets[i].isVisible || !coversSheet(box, owner, i, sheets)) continue;
    const Box part = map.inverse()(common(box, sheets[i].frame));
    const bool isCovered = std::ranges::any_of(others, [&](const auto& other) {
      return other->type == ShapeType::redact && other->id != redaction.id &&
             ownerOf(other->layerId, sheets) == i && holds(grown(frameOf(*other), 1e-6), part);
    });
    if (isCovered) continue;
    Shape share = redaction;
    share.id = randomID();
    share.layerId.reset();
    if (!sheets[i].isCapture) share.layerId = sheets[i].id;
    setFrame(share, part);
    shares.push_back(std::move(share));
  }
  return shares;
}

ShapeList carriedAlong(const ShapeList& shapes, const std::vector<LayerSpec>& before,
                       const std::vector<LayerSpec>& after, PixelSize capture) {
  const AxisMap mapBefore = captureToCanvas(before, capture);
  const AxisMap mapAfter = captureToCanvas(after, capture);
  const std::vector<Sheet> sheets = sheetsOf(before, capture);
  // Where the shapes of each sheet go, in capture pixels; nowhere if it is gone.
  std::vector<std::optional<AxisMap>> ways;
  for (const Sheet& sheet : sheets) {
    const auto now = std::ranges::find(after, sheet.id, &LayerSpec::id);
    if (sheet.isCapture ||
        (now != after.end() && now->frame == sheet.frame && mapBefore == mapAfter)) {
      ways.emplace_back(AxisMap{});  // to the last bit
    } else if (now != after.end()) {
      ways.emplace_back(
          mapBefore.then(mapBetween(sheet.frame, now->frame)).then(mapAfter.inverse()));
    } else {
      ways.emplace_back();
    }
  }
  ShapeList result;
  result.reserve(shapes.size());
  for (const auto& shape : shapes) {
    const auto& way = ways[ownerOf(shape->layerId, sheets)];
    if (!way) continue;
    result.push_back(*way == AxisMap{} ? shape
                                       : std::make_shared<const Shape>(mapped(*shape, *way)));
  }
  return result;
}

}  // namespace vantorel
