#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "editor/testing/rough_text.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {

/// Draws scenes without drawing: a picture shows by its first byte how many shapes are on it, and
/// layers are there or missing as their files are.
class FlatSceneDrawing final : public SceneDrawing {
 public:
  int views = 0;
  bool hasNoMemory = false;

  [[nodiscard]] static Image marked(const Image& base, std::size_t shapes) {
    MutableImage image(base.size(), base.format());
    for (int y = 0; y < base.height(); ++y) {
      std::ranges::copy(base.row(y), image.row(y).begin());
    }
    image.row(0)[0] = static_cast<std::uint8_t>(shapes);
    return std::move(image).finish();
  }

  [[nodiscard]] std::unique_ptr<SceneView> makeView(SceneGround ground) override {
    ++views;
    return std::make_unique<View>(std::move(ground.picture));
  }
  [[nodiscard]] std::unique_ptr<FramedView> makeFrame(const BackgroundSpec&,
                                                      PixelSize picture) override {
    return std::make_unique<Frame>(picture);
  }
  [[nodiscard]] LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                                           const ReadLayerPicture& readPicture,
                                           const PixelRect&) override {
    LayerComposite built{.image = base, .pixelWidth = base.width(), .pixelHeight = base.height()};
    for (const LayerSpec& layer : document.layers) {
      if (!layer.visible || !layer.path) continue;
      if (!readPicture(layer)) built.missingLayerIDs.push_back(layer.id);
    }
    return built;
  }
  [[nodiscard]] std::unique_ptr<TextGeometry> layOut(const Shape& text) override {
    return std::make_unique<RoughTextGeometry>(text);
  }
  [[nodiscard]] Result<Image, SceneFailure> drawScene(const EditorDocument& document, Image base,
                                                      std::optional<double>, const Files&,
                                                      const ImageCodec&) override {
    if (hasNoMemory) return std::unexpected(SceneFailure{SceneFailure::Case::noMemory});
    return marked(base, document.shapes.size());
  }
  [[nodiscard]] Result<std::string, SceneFailure> exportScene(
      const EditorDocument& document, Image base, std::optional<double> captureScale,
      const Files& files, const ImageCodec& codec, const ImageEncoding& encoding) override {
    auto image = VT_TRY(drawScene(document, std::move(base), captureScale, files, codec));
    auto bytes = codec.encode(image, encoding);
    if (bytes) return *std::move(bytes);
    return std::unexpected(
        SceneFailure{SceneFailure::Case::notEncoded, std::move(bytes.error().reason)});
  }

 private:
  class View final : public SceneView {
   public:
    explicit View(Image ground) : image_(std::move(ground)) {}
    std::vector<PixelRect> show(const ShapeList& shapes) override {
      image_ = marked(image_, shapes.size());
      return {{0, 0, 1, 1}};
    }
    std::vector<PixelRect> patchGround(const Image&, int, int, const ShapeList& shapes) override {
      return show(shapes);
    }
    [[nodiscard]] PixelSize size() const override { return image_.size(); }
    [[nodiscard]] const std::uint8_t* pixels() const override { return image_.row(0).data(); }
    [[nodiscard]] std::size_t stride() const override { return image_.stride(); }

   private:
    Image image_;
  };

  class Frame final : public FramedView {
   public:
    explicit Frame(PixelSize size) : image_(MutableImage(size, PixelFormat::bgrx).finish()) {}
    std::vector<PixelRect> follow(const Image& picture,
                                  const std::vector<PixelRect>& areas) override {
      image_ = picture;
      return areas;
    }
    [[nodiscard]] int margin() const override { return 0; }
    [[nodiscard]] PixelSize size() const override { return image_.size(); }
    [[nodiscard]] const std::uint8_t* pixels() const override { return image_.row(0).data(); }
    [[nodiscard]] std::size_t stride() const override { return image_.stride(); }

   private:
    Image image_;
  };
};

}  // namespace vantorel
