#include "main/scene_module.hpp"

#include <utility>

#include "platform/linux/program_module.hpp"
#include "render/scene_drawing.hpp"

namespace vantorel {

Result<SceneDrawing*, SceneFailure> loadSceneDrawing() {
  auto entry = moduleEntry(modulesFolder() / "libvantorel_render.so", sceneDrawingEntryName);
  if (!entry) {
    return std::unexpected(
        SceneFailure{SceneFailure::Case::noDrawing, std::move(entry.error().reason)});
  }
  return reinterpret_cast<SceneDrawingEntry>(*entry)();
}

DrawPicture drawPictureWithModule(std::shared_ptr<const Files> files,
                                  std::shared_ptr<const ImageCodec> codec) {
  return [files = std::move(files), codec = std::move(codec)](
             const EditorDocument& document, Image base,
             std::optional<double> captureScale) -> Result<Image, SceneFailure> {
    SceneDrawing* const drawing = VT_TRY(loadSceneDrawing());
    return drawing->drawScene(document, std::move(base), captureScale, *files, *codec);
  };
}

CaptureAnnotator::Draw drawWithModule(std::shared_ptr<const Files> files,
                                      std::shared_ptr<const ImageCodec> codec) {
  return [files = std::move(files), codec = std::move(codec)](
             const EditorDocument& document, Image base, std::optional<double> captureScale,
             const ImageEncoding& encoding) -> Result<std::string, SceneFailure> {
    SceneDrawing* const drawing = VT_TRY(loadSceneDrawing());
    return drawing->exportScene(document, std::move(base), captureScale, *files, *codec, encoding);
  };
}

}  // namespace vantorel
