#include "render/scene_drawing.hpp"

#include <utility>

#include "render/scene_canvas.hpp"
#include "render/scene_export.hpp"

namespace vantorel {
namespace {

class CanvasDrawing final : public SceneDrawing {
 public:
  std::unique_ptr<SceneView> makeView(SceneGround ground) override {
    return std::make_unique<SceneCanvas>(std::move(ground));
  }

  Result<Image, SceneFailure> drawScene(const EditorDocument& document, Image base,
                                        std::optional<double> captureScale, const Files& files,
                                        const ImageCodec& codec) override {
    return renderScene(document, sceneSource(std::move(base), captureScale, files, codec));
  }

  Result<std::string, SceneFailure> exportScene(const EditorDocument& document, Image base,
                                                std::optional<double> captureScale,
                                                const Files& files, const ImageCodec& codec,
                                                const ImageEncoding& encoding) override {
    return vantorel::exportScene(document, sceneSource(std::move(base), captureScale, files, codec),
                                 codec, encoding);
  }
};

}  // namespace

SceneDrawing& sceneDrawing() {
  static CanvasDrawing drawing;
  return drawing;
}

}  // namespace vantorel
