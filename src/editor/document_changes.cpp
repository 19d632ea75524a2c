#include "editor/document_changes.hpp"

#include <fmt/format.h>

#include <string_view>
#include <unordered_map>
#include <vector>

#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

struct ShapeCounts {
  int added = 0;
  int changed = 0;
  int removed = 0;
};

ShapeCounts compare(const std::vector<Shape>& opened, const std::vector<Shape>& now) {
  std::unordered_map<std::string_view, const Shape*> before;
  for (const Shape& shape : opened) before.emplace(shape.id, &shape);
  ShapeCounts counts;
  for (const Shape& shape : now) {
    const auto found = before.find(shape.id);
    if (found == before.end()) {
      ++counts.added;
      continue;
    }
    if (*found->second != shape) ++counts.changed;
    before.erase(found);
  }
  counts.removed = static_cast<int>(before.size());
  return counts;
}

std::string joined(const std::vector<std::string>& phrases) {
  std::string text;
  for (std::size_t i = 0; i < phrases.size(); ++i) {
    if (i > 0) text += i + 1 == phrases.size() ? " and " : ", ";
    text += phrases[i];
  }
  return text;
}

/// The layers as they lie to the capture. A layer of the capture that only says where it lies,
/// below all others, is left out, as it is while the capture lies at the canvas's corner.
std::vector<LayerSpec> relativeLayers(std::vector<LayerSpec> layers) {
  const LayerSpec* const capture = captureLayer(layers);
  if (capture == nullptr) return layers;
  const Pt origin{capture->frame.x, capture->frame.y};
  for (LayerSpec& layer : layers) {
    layer.frame.x -= origin.x;
    layer.frame.y -= origin.y;
  }
  LayerSpec plain = newCaptureLayer({capture->pixelWidth, capture->pixelHeight});
  plain.id = capture->id;
  if (layers.front() == plain) layers.erase(layers.begin());
  return layers;
}

}  // namespace

std::string describeChanges(const EditorDocument& opened, const EditorDocument& now,
                            TextLabel typing) {
  std::vector<std::string> phrases;
  const auto count = [&](int number, std::string_view what) {
    if (number == 0) return;
    phrases.push_back(fmt::format("{} annotation{} {}", number, number == 1 ? "" : "s", what));
  };
  const ShapeCounts shapes = compare(opened.shapes, now.shapes);
  count(shapes.added, "added");
  count(shapes.changed, "changed");
  count(shapes.removed, "removed");
  if (typing == TextLabel::unfinished) phrases.emplace_back("an unfinished text label");
  if (opened.crop != now.crop) phrases.emplace_back("the crop changed");
  // The canvas colour has no phrase of its own, and it must not be lost without a word.
  if (opened.background != now.background || opened.canvas.backdropHex != now.canvas.backdropHex) {
    phrases.emplace_back("the background changed");
  }
  const bool resized =
      opened.canvas.width != now.canvas.width || opened.canvas.height != now.canvas.height;
  // A canvas that grows at the left or top shifts all layers alike.
  const bool sameLayers = opened.layers == now.layers ||
                          (resized && relativeLayers(opened.layers) == relativeLayers(now.layers));
  if (!sameLayers) phrases.emplace_back("the layers changed");
  if (resized) phrases.emplace_back("the canvas size changed");
  return joined(phrases);
}

}  // namespace vantorel
