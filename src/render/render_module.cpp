#include "render/render_module.hpp"

#include "render/scene_export.hpp"

extern "C" __attribute__((visibility("default"))) void vantorelExportScene(
    const vantorel::EditorDocument& document, const vantorel::Image& base,
    std::optional<double> captureScale, const vantorel::Files& files,
    const vantorel::ImageCodec& codec, const vantorel::ImageEncoding& encoding,
    vantorel::Result<std::string>& bytes) {
  bytes = vantorel::exportScene(document, vantorel::sceneSource(base, captureScale, files, codec),
                                codec, encoding);
}
