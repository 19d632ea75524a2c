#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>

#include "capture/area_downscale.hpp"
#include "editor/document_scaling.hpp"
#include "editor/editor_model.hpp"
#include "editor/shape_layers.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "render/scene_export.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

constexpr PixelSize captureSize{120, 90};

/// A document with two images, changed by every kind of command that moves or scales something, and
/// two sets of pictures for it that differ only below the redactions it began with.
class Concealment {
 public:
  explicit Concealment(unsigned seed) : random_(seed) {
    EditorDocument document;
    if (maybe()) {
      document.layers.push_back(newCaptureLayer(captureSize));
      if (maybe())
        document.layers[0].frame = {between(0, 20), 3, between(60, 200), between(40, 150)};
      for (int i = 0; i < 2; ++i) {
        LayerSpec layer = newImageLayer("/" + std::to_string(i), {50, 40}, {between(0, 90), 20});
        if (maybe()) layer.frame.w = between(20, 120);
        if (maybe()) layer.opacity = between(0.2, 0.9);
        document.layers.push_back(layer);
      }
      document.canvas = {180, 130, "#ffffff", {}};
    }
    model_ = std::make_unique<EditorModel>(
        EditorOpening{captureSize, std::move(document), {}, 2.0, {}, roughText}, EditorEvents{});
    for (int i = 0; i < 4; ++i) addShape(i == 0 ? mixedShape(whole(0, 40)) : redaction());
    for (unsigned variant : {2U, 3U}) {
      pictures_[variant].push_back(picture(variant, captureSize, std::nullopt));
      for (const LayerSpec& layer : model_->document().layers) {
        if (layer.path) pictures_[variant].push_back(picture(variant, {50, 40}, layer.id));
      }
    }
  }

  void change() {
    const auto& layers = *model_->state().layers;
    const auto someLayer = [&] {
      return layers.empty() ? ""
                            : layers[static_cast<std::size_t>(whole(0, 99)) % layers.size()].id;
    };
    switch (whole(0, 6)) {
      case 0:
        model_->setPendingCrop(
            Box{between(-9, 60), between(-9, 40), between(5, 150), between(5, 90)});
        model_->applyCrop();
        return;
      case 1:
        model_->resizeCanvas(CanvasSize{double(whole(60, 240)), double(whole(50, 200))},
                             enumNames<CanvasAnchor>[static_cast<std::size_t>(whole(0, 8))].value);
        return;
      case 2:
        model_->setLayerFrame(
            someLayer(), {between(-20, 90), between(-20, 60), between(10, 150), between(10, 90)});
        return;
      case 3:
        model_->arrangeLayers(
            enumNames<CombineLayout>[static_cast<std::size_t>(whole(0, 2))].value);
        return;
      case 4: model_->moveLayerTo(someLayer(), static_cast<std::size_t>(whole(0, 2))); return;
      case 5: model_->removeCrop(); return;
      default: model_->setLayerVisible(someLayer(), maybe()); return;
    }
  }

  void scaleDown() { scaled_ = PixelSize{captureSize.width / 2, whole(44, 46)}; }

  std::string result(unsigned variant, ExportFormat format) const {
    EditorDocument document = model_->document();
    Image base = pictures_.at(variant)[0];
    if (scaled_) {
      document = scaledDocument(std::move(document), base.size(), *scaled_);
      base = downscaled(base, *scaled_);
    }
    const SceneSource source{base, 2.0, [&](const LayerSpec& layer) -> Result<Image> {
                               return pictures_.at(variant)[layer.path == "/0" ? 1 : 2];
                             }};
    const auto bytes = exportScene(document, source, FakeImageCodec(), {.format = format});
    return bytes ? *bytes : bytes.error().reason;
  }

  [[nodiscard]] std::string description() const { return json::toText(model_->document()); }

 private:
  int whole(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
  double between(double least, double most) {
    return std::uniform_real_distribution(least, most)(random_);
  }
  bool maybe() { return whole(0, 1) == 0; }

  Shape redaction() {
    Shape shape = model_->newShape(ShapeType::redact);
    shape.redactStyle = enumNames<RedactStyle>[static_cast<std::size_t>(whole(0, 2))].value;
    shape.x1 = between(-10, 100);
    shape.y1 = between(-10, 70);
    shape.x2 = shape.x1 + between(0.3, 50);
    shape.y2 = shape.y1 + between(0.3, 40);
    return shape;
  }

  void addShape(const Shape& shape) {
    model_->edit("Draw", [&](EditorSnapshot& state) { state.append(shape); });
  }

  /// Noise, and other noise for each variant where a redaction lies over the image.
  Image picture(unsigned variant, PixelSize size, const std::optional<std::string>& layerID) {
    const EditorDocument document = model_->document();
    const AxisMap toCanvas = captureToCanvas(document.layers, captureSize);
    AxisMap toImage = toCanvas.inverse();
    for (const LayerSpec& layer : document.layers) {
      if (layer.path && layer.id == layerID) {
        toImage = mapBetween(layer.frame, {0, 0, double(size.width), double(size.height)});
      }
    }
    std::vector<Box> secrets;
    for (const Shape& shape : document.shapes) {
      if (shape.type != ShapeType::redact ||
          !covers(shape, layerID, document.layers, captureSize)) {
        continue;
      }
      secrets.push_back(toImage(toCanvas(frameOf(shape))));
    }
    std::mt19937 open(layerID ? 7 : 8);
    std::mt19937 hidden(variant);
    MutableImage image(size, PixelFormat::bgrx);
    for (int y = 0; y < size.height; ++y) {
      auto row = image.row(y);
      for (int x = 0; x < size.width; ++x) {
        const bool isSecret = std::ranges::any_of(secrets, [&](const Box& box) {
          return x + 1 > box.x && x < box.right() && y + 1 > box.y && y < box.bottom();
        });
        const auto seen = open();
        const auto value = isSecret ? hidden() : seen;
        for (std::size_t part = 0; part < 3; ++part) {
          row[static_cast<std::size_t>(x) * 4 + part] =
              static_cast<std::uint8_t>(value >> 8 * part);
        }
      }
    }
    return std::move(image).finish();
  }

  std::mt19937 random_;
  std::unique_ptr<EditorModel> model_;
  std::map<unsigned, std::vector<Image>> pictures_;
  std::optional<PixelSize> scaled_;
};

// What two pictures differ in below a redaction reaches no result of any command.
TEST(ConcealmentTest, WhateverIsMovedOrScaledNothingCoveredShows) {
  const char* const more = std::getenv("VT_SEEDS");
  const int seeds = more == nullptr ? 40 : std::atoi(more);
  for (int seed = 1; seed <= seeds; ++seed) {
    Concealment document(static_cast<unsigned>(seed));
    for (int step = 0; step < 5; ++step) {
      if (step == 4) document.scaleDown();
      const auto format =
          enumNames<ExportFormat>[static_cast<std::size_t>((seed + step) % 4)].value;
      ASSERT_TRUE(document.result(2, format) == document.result(3, format))
          << "seed " << seed << ", step " << step << ": " << document.description();
      document.change();
    }
  }
}

}  // namespace
}  // namespace vantorel
