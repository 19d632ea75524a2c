#include "editor/export_gate.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/layer_layout.hpp"

namespace vantorel {

double paddingPixels(const BackgroundSpec& background, CanvasSize picture) {
  if (std::holds_alternative<BackgroundFill::None>(background.fill.value)) return 0;
  const double percent = std::max(background.paddingPercent, 0.0);
  return std::round(percent / 100 * std::max(picture.width, picture.height));
}

PixelRect shownPart(const EditorDocument& document, PixelSize capture) {
  std::optional<Box> crop;
  if (document.crop) crop = captureToCanvas(document.layers, capture)(*document.crop);
  return shownPart(crop, canvasSizeOf(document.canvas, capture));
}

PixelRect shownPart(const std::optional<Box>& cropOnCanvas, CanvasSize canvas) {
  const Box whole{0, 0, canvas.width, canvas.height};
  Box shown = whole;
  if (cropOnCanvas) {
    const Box& crop = *cropOnCanvas;
    const double left = std::round(std::clamp(crop.x, 0.0, whole.w));
    const double top = std::round(std::clamp(crop.y, 0.0, whole.h));
    const double right = std::round(std::clamp(crop.right(), 0.0, whole.w));
    const double bottom = std::round(std::clamp(crop.bottom(), 0.0, whole.h));
    if (right > left && bottom > top) shown = {left, top, right - left, bottom - top};
  }
  constexpr double most = maximumPicturePixels;  // no side of a possible picture is longer
  return {static_cast<int>(std::min(shown.x, most)), static_cast<int>(std::min(shown.y, most)),
          static_cast<int>(std::min(shown.w, most)), static_cast<int>(std::min(shown.h, most))};
}

std::optional<ExportBlock> exportBlock(const EditorDocument& document,
                                       const ExportSituation& situation) {
  using Kind = ExportBlock::Kind;
  if (situation.base == BaseImageState::failed) return ExportBlock{Kind::notLoaded, {}};
  if (situation.base == BaseImageState::loading || situation.build == LayerBuildState::building) {
    return ExportBlock{Kind::stillLoading, {}};
  }
  const CanvasSize canvas = canvasSizeOf(document.canvas, situation.capture);
  if (situation.build == LayerBuildState::failed || !isPossibleSize(canvas.width, canvas.height)) {
    return ExportBlock{Kind::notBuilt, {}};
  }
  const auto firstVisible = [&](const std::vector<std::string>& ids) {
    return std::ranges::find_if(document.layers, [&](const LayerSpec& layer) {
      return layer.visible && std::ranges::find(ids, layer.id) != ids.end();
    });
  };
  const auto oversized = firstVisible(situation.oversizedLayerIDs);
  if (oversized != document.layers.end()) {
    return ExportBlock{Kind::layerTooLarge, oversized->name, oversized->id};
  }
  const auto missing = firstVisible(situation.missingLayerIDs);
  if (missing != document.layers.end()) {
    return ExportBlock{Kind::layerMissing, missing->name, missing->id};
  }
  const PixelRect shown = shownPart(document, situation.capture);
  const CanvasSize picture{double(shown.width), double(shown.height)};
  const double padding = paddingPixels(document.background, picture);
  if (!isPossibleCanvas({picture.width + 2 * padding, picture.height + 2 * padding}, picture)) {
    return ExportBlock{Kind::paddingTooLarge, {}};
  }
  return std::nullopt;
}

}  // namespace vantorel
