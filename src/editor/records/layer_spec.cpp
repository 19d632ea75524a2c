#include "editor/records/layer_spec.hpp"

#include <algorithm>
#include <cmath>

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void CanvasSpec::describe(V& v, S& canvas) {
  v.field("width", canvas.width);
  v.field("height", canvas.height);
  v.field("backdropHex", canvas.backdropHex);
  v.rest(canvas.extra);
}
VT_JSON_RECORD(CanvasSpec)

template <class V, class S>
void LayerBorder::describe(V& v, S& border) {
  v.required("width", border.width);
  v.field("color", border.color);
  v.rest(border.extra);
}
VT_JSON_RECORD(LayerBorder)

std::optional<LayerBorder> normalised(LayerBorder border) {
  if (!std::isfinite(border.width) || border.width <= 0) return std::nullopt;
  border.width = std::min(border.width, LayerBorder::widest);
  if (border.color.empty()) border.color = standardRed;
  return border;
}

template <class V, class S>
void LayerSpec::describe(V& v, S& layer) {
  v.required("id", layer.id);
  v.field("path", layer.path, json::asPath);
  v.field("frameIndex", layer.frameIndex);
  v.field("pixelWidth", layer.pixelWidth);
  v.field("pixelHeight", layer.pixelHeight);
  v.required("frame", layer.frame);
  v.field("opacity", layer.opacity);
  v.field("visible", layer.visible);
  v.field("locked", layer.locked);
  v.field("name", layer.name);
  v.field("border", layer.border,
          [](std::optional<LayerBorder>& border) { border = normalised(std::move(*border)); });
  v.rest(layer.extra);
}
VT_JSON_RECORD(LayerSpec)

}  // namespace vantorel
