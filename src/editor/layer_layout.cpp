#include "editor/layer_layout.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

#include "base/random_id.hpp"

namespace vantorel {
namespace {

/// Where each of a run of cells begins, and where the last ends.
std::vector<double> starts(const std::vector<double>& sizes, double gutter) {
  std::vector<double> result{0};
  for (const double size : sizes) result.push_back(result.back() + size + gutter);
  result.back() -= gutter;
  return result;
}

}  // namespace

bool hasArea(const Box& box) {
  return std::isfinite(box.x) && std::isfinite(box.y) && std::isfinite(box.w) &&
         std::isfinite(box.h) && box.w > 0 && box.h > 0;
}

const LayerSpec* captureLayer(const std::vector<LayerSpec>& layers) {
  const auto found =
      std::ranges::find_if(layers, [](const LayerSpec& layer) { return !layer.path; });
  return found == layers.end() ? nullptr : &*found;
}

AxisMap captureToCanvas(const std::vector<LayerSpec>& layers, PixelSize capture) {
  const LayerSpec* const layer = captureLayer(layers);
  if (layer == nullptr || !hasArea(layer->frame) || capture.width <= 0 || capture.height <= 0) {
    return {};
  }
  return mapBetween({0, 0, double(capture.width), double(capture.height)}, layer->frame);
}

CanvasSize canvasSizeOf(const CanvasSpec& canvas, PixelSize capture) {
  const CanvasSize size{std::round(canvas.width), std::round(canvas.height)};
  if (size.width >= 1 && size.height >= 1) return size;
  return {double(capture.width), double(capture.height)};
}

Arrangement arranged(const std::vector<Box>& frames, CombineLayout layout, double gutter) {
  if (frames.empty()) return {};
  std::size_t columns = 1;
  if (layout == CombineLayout::sideBySide) columns = frames.size();
  if (layout == CombineLayout::grid) {
    columns = static_cast<std::size_t>(std::ceil(std::sqrt(double(frames.size()))));
  }
  std::vector<double> widths(columns, 0);
  std::vector<double> heights((frames.size() + columns - 1) / columns, 0);
  for (std::size_t i = 0; i < frames.size(); ++i) {
    widths[i % columns] = std::max(widths[i % columns], frames[i].w);
    heights[i / columns] = std::max(heights[i / columns], frames[i].h);
  }
  const std::vector<double> lefts = starts(widths, gutter);
  const std::vector<double> tops = starts(heights, gutter);
  Arrangement result;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const std::size_t column = i % columns;
    const std::size_t row = i / columns;
    result.frames.push_back({lefts[column] + std::floor((widths[column] - frames[i].w) / 2),
                             tops[row] + std::floor((heights[row] - frames[i].h) / 2), frames[i].w,
                             frames[i].h});
  }
  result.canvas = {std::ceil(lefts.back()), std::ceil(tops.back())};
  return result;
}

LayerSpec newCaptureLayer(PixelSize capture) {
  LayerSpec layer;
  layer.id = randomID();
  layer.name = "Capture";
  layer.pixelWidth = capture.width;
  layer.pixelHeight = capture.height;
  layer.frame = {0, 0, double(capture.width), double(capture.height)};
  return layer;
}

LayerSpec newImageLayer(std::string path, PixelSize pixels, Pt corner) {
  LayerSpec layer;
  layer.id = randomID();
  layer.name = std::filesystem::path(path).stem().string();
  layer.path = std::move(path);
  layer.pixelWidth = pixels.width;
  layer.pixelHeight = pixels.height;
  layer.frame = {corner.x, corner.y, double(pixels.width), double(pixels.height)};
  return layer;
}

void addAsLayers(const CombineSpec& combine, PixelSize capture, EditorDocument& document) {
  document.layers.push_back(newCaptureLayer(capture));
  for (const CombineAttachment& attachment : combine.attachments) {
    const PixelSize pixels{std::max(attachment.pixelWidth, 1), std::max(attachment.pixelHeight, 1)};
    LayerSpec layer = newImageLayer(attachment.path, pixels, {});
    layer.id = attachment.id;
    layer.frameIndex = attachment.frameIndex;
    document.layers.push_back(std::move(layer));
  }
  std::vector<Box> frames;
  for (const LayerSpec& layer : document.layers) frames.push_back(layer.frame);
  Arrangement result = arranged(frames, combine.layout, std::max(combine.gutter, 0.0));
  // A gap beyond all measure is none.
  if (!isPossibleCanvas(result.canvas, {})) {
    result = arranged(frames, combine.layout, 0);
  }
  for (std::size_t i = 0; i < document.layers.size(); ++i) {
    document.layers[i].frame = result.frames[i];
  }
  document.canvas.width = result.canvas.width;
  document.canvas.height = result.canvas.height;
  document.canvas.backdropHex = combine.gutterHex;
}

}  // namespace vantorel
