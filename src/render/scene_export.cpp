#include "render/scene_export.hpp"

#include <fmt/format.h>

#include "editor/entry_document.hpp"
#include "editor/output_failure.hpp"

namespace vantorel {

SceneSource sceneSource(Image base, std::optional<double> captureScale, const Files& files,
                        const ImageCodec& codec) {
  return {std::move(base), captureScale, [&files, &codec](const LayerSpec& layer) {
            return readPictureFile(*layer.path, layer.frameIndex, files, codec);
          }};
}

Result<std::string> exportScene(const EditorDocument& document, const SceneSource& source,
                                const ImageCodec& codec, const ImageEncoding& encoding) {
  const Image image = VT_TRY(renderScene(document, source));
  if (!codec.canHold(encoding.format, image.size())) {
    return failed(FailureKind::tooLarge,
                  fmt::format("An image of {} × {} px is too large for {}.", image.width(),
                              image.height(), displayName(encoding.format)));
  }
  auto bytes = codec.encode(image, encoding);
  if (!bytes) {
    return failed(bytes.error().kind,
                  fmt::format("Couldn't export: {} ({}).", sentence(OutputFailure::notWritten),
                              bytes.error().reason));
  }
  return bytes;
}

}  // namespace vantorel
