#include "render/scene_export.hpp"

#include <utility>

#include "editor/entry_document.hpp"

namespace vantorel {

SceneSource sceneSource(Image base, std::optional<double> captureScale, const Files& files,
                        const ImageCodec& codec) {
  return {std::move(base), captureScale, [&files, &codec](const LayerSpec& layer) {
            return readPictureFile(*layer.path, layer.frameIndex, files, codec);
          }};
}

Result<std::string, SceneFailure> exportScene(const EditorDocument& document,
                                              const SceneSource& source, const ImageCodec& codec,
                                              const ImageEncoding& encoding) {
  using Case = SceneFailure::Case;
  const Image image = VT_TRY(renderScene(document, source));
  if (!codec.canHold(encoding.format, image.size())) {
    return std::unexpected(
        SceneFailure{.what = Case::tooLarge, .size = image.size(), .format = encoding.format});
  }
  auto bytes = codec.encode(image, encoding);
  if (!bytes) {
    return std::unexpected(SceneFailure{Case::notEncoded, std::move(bytes.error().reason)});
  }
  return *std::move(bytes);
}

}  // namespace vantorel
