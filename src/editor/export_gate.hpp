#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "editor/canvas_size.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/export_block.hpp"

namespace vantorel {

enum class BaseImageState { loading, failed, ready };
enum class LayerBuildState { none, building, failed, ready };

/// What the gate looks at. The id lists come from the latest `LayerComposite`.
struct ExportSituation {
  BaseImageState base = BaseImageState::loading;
  LayerBuildState build = LayerBuildState::none;
  std::vector<std::string> missingLayerIDs;
  std::vector<std::string> oversizedLayerIDs;
  PixelSize capture;
};

/// The first reason not to export `document`; none when it can be exported. Hidden layers never
/// block.
[[nodiscard]] std::optional<ExportBlock> exportBlock(const EditorDocument& document,
                                                     const ExportSituation& situation);

/// The margin that the background adds on every side of a picture, in whole pixels.
[[nodiscard]] double paddingPixels(const BackgroundSpec& background, CanvasSize picture);

/// The part of the canvas that is shown, in whole canvas pixels: the crop, or all of it. A crop
/// that leaves nothing is no crop.
[[nodiscard]] PixelRect shownPart(const EditorDocument& document, PixelSize capture);
[[nodiscard]] PixelRect shownPart(const std::optional<Box>& cropOnCanvas, CanvasSize canvas);

}  // namespace vantorel
