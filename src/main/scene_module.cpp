#include "main/scene_module.hpp"

#include <fmt/format.h>

#include "platform/linux/program_module.hpp"
#include "render/scene_drawing.hpp"

namespace vantorel {

Result<SceneDrawing*> loadSceneDrawing() {
  const auto entry = moduleEntry(modulesFolder() / "libvantorel_render.so", sceneDrawingEntryName);
  if (!entry) {
    return failed(entry.error().kind, fmt::format("The part of Vantorel that draws pictures {}.",
                                                  entry.error().reason));
  }
  return reinterpret_cast<SceneDrawingEntry>(*entry)();
}

CaptureAnnotator::Draw drawWithModule(std::shared_ptr<const Files> files,
                                      std::shared_ptr<const ImageCodec> codec) {
  return [files = std::move(files), codec = std::move(codec)](
             const EditorDocument& document, Image base, std::optional<double> captureScale,
             const ImageEncoding& encoding) -> Result<std::string> {
    SceneDrawing* const drawing = VT_TRY(loadSceneDrawing());
    return drawing->exportScene(document, std::move(base), captureScale, *files, *codec, encoding);
  };
}

}  // namespace vantorel
