#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>

#include "app/capture_rewriter.hpp"
#include "editor/editor_model.hpp"
#include "editor/entry_document.hpp"
#include "editor/shape_layers.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "library/testing/test_library.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/quiet_log.hpp"
#include "render/scene_export.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

constexpr PixelSize captureSize{120, 90};

/// A library with one capture, and the commands that write its file anew.
class Shelf : private TestLibrary {
 public:
  Shelf(const Image& picture, const EditorDocument& document) {
    files->put("/captures/a.png", codec->encode(picture, {}).value());
    ScreenshotEntry entry;
    entry.id = "a";
    entry.path = "/captures/a.png";
    entry.captureScale = 2;
    putDocument(document, picture.size(), entry);
    files->put("/data/history.json",
               R"({"version":4,"entries":[)" + json::toText(entry) + R"(],"collections":[]})");
    library.open();
    runners.run();
  }

  /// Answers what came of it, as far as it tells nothing of sizes.
  std::string rewrite(int command) {
    std::string name = "none";
    const CaptureRewriter::Done done = [&](const RewriteReply& reply) {
      name = reply ? Path(reply->entry->path).filename().string() : "refused";
    };
    if (command < 4) {
      rewriter.convert("a", enumNames<ExportFormat>[static_cast<std::size_t>(command)].value, done);
    } else {
      rewriter.compress("a", command == 5, done);
    }
    runners.run();
    return name;
  }

  [[nodiscard]] Image picture() {
    return codec->decode(files->text(store.find("a")->path)).value();
  }
  [[nodiscard]] EditorDocument document() { return documentOf(*store.find("a"), picture().size()); }

  std::shared_ptr<LinuxImageCodec> codec = std::make_shared<LinuxImageCodec>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{runners.main()};
  CaptureRewriter rewriter{{.main = runners.main(),
                            .work = runners.runner("work"),
                            .files = files,
                            .codec = codec,
                            .library = &library,
                            .settings = &settings,
                            .pendingWork = &pending,
                            .surfaces = &surfaces}};
};

/// A document with two images, changed by every kind of command that moves or scales something, and
/// two sets of pictures for it that differ only below the redactions it began with.
class Concealment {
 public:
  explicit Concealment(unsigned seed) : random_(seed), colorBits_(maybe() ? 0xffU : 0xc0U) {
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

  /// From now on the capture is one of a library, for each set of pictures.
  void shelve() {
    for (auto& [variant, pictures] : pictures_) {
      shelves_.emplace(variant, std::make_unique<Shelf>(pictures[0], model_->document()));
    }
  }

  /// Has the files of the captures written anew; how that ended for each set.
  std::vector<std::string> rewrite() {
    const int command = whole(0, 5);
    std::vector<std::string> results;
    for (auto& [variant, shelf] : shelves_) {
      results.push_back(shelf->rewrite(command) + " after " + std::to_string(command));
    }
    return results;
  }

  [[nodiscard]] std::string result(unsigned variant, ExportFormat format) const {
    const bool isShelved = !shelves_.empty();
    const EditorDocument document =
        isShelved ? shelves_.at(variant)->document() : model_->document();
    const Image base = isShelved ? shelves_.at(variant)->picture() : pictures_.at(variant)[0];
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

  /// Noise of many colours or of few, and in the second variant noise of many colours where a
  /// redaction lies over the image: another one than in the first.
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
          const unsigned kept = isSecret && variant == 3 ? 0xffU : colorBits_;
          row[static_cast<std::size_t>(x) * 4 + part] =
              static_cast<std::uint8_t>(value >> 8 * part & kept);
        }
      }
    }
    return std::move(image).finish();
  }

  std::mt19937 random_;
  unsigned colorBits_;  // of each part of a colour
  std::unique_ptr<EditorModel> model_;
  std::map<unsigned, std::vector<Image>> pictures_;
  std::map<unsigned, std::unique_ptr<Shelf>> shelves_;
};

// What two pictures differ in below a redaction reaches no result of any command: neither what is
// drawn, nor what another format's losses carry beside it, nor whether a command found anything to
// do.
TEST(ConcealmentTest, WhateverIsMovedScaledOrEncodedNothingCoveredShows) {
  const char* const more = std::getenv("VT_SEEDS");
  const int seeds = more == nullptr ? 15 : std::atoi(more);
  const QuietLog quiet;
  for (int seed = 1; seed <= seeds; ++seed) {
    Concealment document(static_cast<unsigned>(seed));
    std::string commands;
    for (int step = 0; step < 7; ++step) {
      if (step == 4) document.shelve();
      if (step >= 4) {
        const auto ended = document.rewrite();
        commands += ended[0] + ", ";
        ASSERT_EQ(ended[0], ended[1]) << "seed " << seed << ": " << commands;
      }
      const auto format =
          enumNames<ExportFormat>[static_cast<std::size_t>((seed + step) % 4)].value;
      ASSERT_TRUE(document.result(2, format) == document.result(3, format))
          << "seed " << seed << ", step " << step << " " << commands << document.description();
      document.change();
    }
  }
}

}  // namespace
}  // namespace vantorel
