#include "render/scene_drawing.hpp"

#include <utility>

#include "render/framed_view.hpp"
#include "render/laid_out_text.hpp"
#include "render/layer_builder.hpp"
#include "render/scene_canvas.hpp"
#include "render/scene_export.hpp"

namespace vantorel {
namespace {

class CanvasDrawing final : public SceneDrawing {
 public:
  std::unique_ptr<SceneView> makeView(SceneGround ground) override {
    return std::make_unique<SceneCanvas>(std::move(ground));
  }

  std::unique_ptr<FramedView> makeFrame(const BackgroundSpec& background,
                                        PixelSize picture) override {
    return std::make_unique<FollowingFrame>(background, picture);
  }

  LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                             const ReadLayerPicture& readPicture, const PixelRect& part) override {
    return vantorel::buildLayers(document, base, readPicture, part);
  }

  std::unique_ptr<TextGeometry> layOut(const Shape& text) override {
    return vantorel::layOut(text);
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
