#include "main/scene_module.hpp"

#include <fmt/format.h>

#include "platform/linux/program_module.hpp"
#include "render/render_module.hpp"

namespace vantorel {

CaptureAnnotator::Draw sceneDrawing(std::shared_ptr<const Files> files,
                                    std::shared_ptr<const ImageCodec> codec) {
  return [files = std::move(files), codec = std::move(codec)](
             const EditorDocument& document, const Image& base, std::optional<double> captureScale,
             const ImageEncoding& encoding) -> Result<std::string> {
    const auto entry = moduleEntry(modulesFolder() / "libvantorel_render.so", exportSceneName);
    if (!entry) {
      return failed(entry.error().kind, fmt::format("The part of Vantorel that draws pictures {}.",
                                                    entry.error().reason));
    }
    Result<std::string> bytes;
    reinterpret_cast<ExportScene>(*entry)(document, base, captureScale, *files, *codec, encoding,
                                          bytes);
    return bytes;
  };
}

}  // namespace vantorel
