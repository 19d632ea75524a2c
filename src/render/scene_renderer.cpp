#include "render/scene_renderer.hpp"

#include <algorithm>
#include <new>
#include <utility>

#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"
#include "editor/shape_layers.hpp"
#include "render/background_painter.hpp"
#include "render/scene_canvas.hpp"

namespace vantorel {
namespace {

Result<Image, SceneFailure> draw(const EditorDocument& document, const SceneSource& source) {
  ExportSituation situation;
  situation.base = source.base.isEmpty() ? BaseImageState::failed : BaseImageState::ready;
  situation.build = LayerBuildState::ready;
  situation.capture = source.base.size();
  const auto refusal = [&]() -> Result<void, SceneFailure> {
    auto block = exportBlock(document, situation);
    if (!block) return {};
    return std::unexpected(SceneFailure{.block = *std::move(block)});
  };
  // Before any memory is spent on it.
  VT_TRY(refusal());
  const PixelRect shown = shownPart(document, source.base.size());
  LayerComposite composite = buildLayers(document, source.base, source.readLayerPicture, shown);
  situation.missingLayerIDs = composite.missingLayerIDs;
  situation.oversizedLayerIDs = composite.oversizedLayerIDs;
  VT_TRY(refusal());
  const AxisMap toPicture = captureToCanvas(document.layers, source.base.size())
                                .then({1, 1, -double(shown.x), -double(shown.y)});
  const ShapeList shapes =
      shownShapes(shared(document.shapes), document.layers, source.base.size());
  Image picture = composite.image;
  if (!shapes.empty()) {
    SceneCanvas canvas({picture, toPicture, composite.bleed, source.captureScale});
    canvas.show(shapes);
    picture = std::move(canvas).finish();
  }
  return withBackground(picture, document.background);
}

}  // namespace

Result<Image, SceneFailure> renderScene(const EditorDocument& document, const SceneSource& source) {
  try {
    return draw(document, source);
  } catch (const std::bad_alloc&) {
    return std::unexpected(SceneFailure{SceneFailure::Case::noMemory});
  }
}

}  // namespace vantorel
