#include "editor/canvas_scene.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include "editor/testing/mixed_shapes.hpp"
#include "editor/testing/random_user.hpp"
#include "platform/testing/fake_runners.hpp"
#include "render/scene_drawing.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

Result<Image> layerPicture(const LayerSpec& layer) {
  if (*layer.path == "/b.png") return plainImage({200, 10}, 0xff30a0c0);
  return pageOf("layer", {300, 200}, "#104010", 0xffe0ffe0);
}

/// A window with round corners and a soft edge.
Image glassyPage(PixelSize size) {
  const Image page = pageOf("some words", size);
  MutableImage glassy(size, PixelFormat::bgraPremultiplied);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const int edge = std::min({x, y, size.width - 1 - x, size.height - 1 - y});
      const int alpha = std::min(255, edge * 40);
      for (int i = 0; i < 3; ++i) {
        glassy.row(y)[static_cast<std::size_t>(4 * x + i)] = static_cast<std::uint8_t>(
            page.row(y)[static_cast<std::size_t>(4 * x + i)] * alpha / 255);
      }
      glassy.row(y)[static_cast<std::size_t>(4 * x + 3)] = static_cast<std::uint8_t>(alpha);
    }
  }
  return std::move(glassy).finish();
}

/// An editor and its scene, with somebody who watches it as a window does: by what it says has
/// changed.
class Watched {
 public:
  Watched(Image base, BackgroundFill fill)
      : base_(base),
        model_(opening(base.size(), std::move(fill)), events()),
        scene_(services(), model_, base) {
    watching_ = scene_.observe([this](const CanvasScene::Change& change) { take(change); });
    take({true, {}});
  }

  EditorModel& model() { return model_; }
  CanvasScene& scene() { return scene_; }
  FakeRunners& runners() { return runners_; }

  /// What an export of what is seen gives.
  Image exported() {
    EditorDocument document = model_.scene();
    if (model_.tool() == Tool::crop) {
      document.crop.reset();
      document.background = {};
    }
    auto image = renderScene(document, {base_, model_.captureScale(), layerPicture});
    return image ? *image : Image();
  }

  /// The first thing that is not as it should be, by up to so much for each part of a pixel.
  std::string fault(int most = 0) {
    const CanvasScene::Picture seen = scene_.picture();
    const Image wanted = exported();
    if (wanted.isEmpty()) return {};  // an export is refused, and its sentence says why
    if (seen.pixels == nullptr) return "nothing to be seen";
    if (seen.size != wanted.size()) return "another size";
    if (seen.isOpaque != (wanted.format() == PixelFormat::bgrx) && seen.isOpaque) return "opaque";
    for (int y = 0; y < seen.size.height; ++y) {
      const std::uint8_t* const row = seen.pixels + static_cast<std::size_t>(y) * seen.stride;
      const std::uint8_t* const mirrored =
          mirror_.data() +
          static_cast<std::size_t>(y) * static_cast<std::size_t>(4 * seen.size.width);
      for (int x = 0; x < 4 * seen.size.width; ++x) {
        if (x % 4 == 3 && wanted.format() == PixelFormat::bgrx) continue;
        if (std::abs(row[x] - wanted.row(y)[static_cast<std::size_t>(x)]) > most) {
          return "pixel " + std::to_string(x / 4) + "," + std::to_string(y) + " is not as exported";
        }
        if (row[x] != mirrored[x]) {
          return "pixel " + std::to_string(x / 4) + "," + std::to_string(y) + " changed unsaid";
        }
      }
    }
    return {};
  }

  /// Whether the halved pictures are what one would get by halving now.
  bool halvesAreRight() {
    CanvasScene::Picture below = scene_.picture();
    for (int halvings = 1; halvings <= 2; ++halvings) {
      const HalvedPicture fresh(below.pixels, below.stride, below.size);
      const CanvasScene::Picture half = scene_.picture(halvings);
      if (half.size != fresh.size() ||
          std::memcmp(half.pixels, fresh.pixels(),
                      half.stride * static_cast<std::size_t>(half.size.height)) != 0) {
        return false;
      }
      below = half;
    }
    return true;
  }

 private:
  static EditorOpening opening(PixelSize size, BackgroundFill fill) {
    EditorOpening opening;
    opening.capture = size;
    opening.captureScale = 1;
    opening.layOut = [](const Shape& text) { return sceneDrawing().layOut(text); };
    opening.document.background.fill = std::move(fill);
    opening.document.background.cornerRadius = 35.5;
    for (int i = 0; i < 13; ++i) {
      opening.document.shapes.push_back(mapped(mixedShape(i), {0.5, 0.5, 0, 0}));
    }
    return opening;
  }
  EditorEvents events() {
    EditorEvents events;
    events.changed = [this] {
      if (isReady_) scene_.update();
    };
    return events;
  }
  CanvasScene::Services services() {
    isReady_ = true;
    return {runners_.main(), runners_.runner("work"), &sceneDrawing(), layerPicture};
  }

  void take(const CanvasScene::Change& change) {
    const CanvasScene::Picture seen = scene_.picture();
    if (seen.pixels == nullptr) return;
    const auto stride = static_cast<std::size_t>(4 * seen.size.width);
    std::vector<PixelRect> areas = change.areas;
    if (change.isNew) {
      mirror_.assign(stride * static_cast<std::size_t>(seen.size.height), 0);
      areas = {{0, 0, seen.size.width, seen.size.height}};
    }
    for (const PixelRect& area : areas) {
      for (int y = area.y; y < area.bottom(); ++y) {
        const auto skip = static_cast<std::size_t>(4 * area.x);
        std::memcpy(mirror_.data() + static_cast<std::size_t>(y) * stride + skip,
                    seen.pixels + static_cast<std::size_t>(y) * seen.stride + skip,
                    static_cast<std::size_t>(4 * area.width));
      }
    }
  }

  bool isReady_ = false;
  Image base_;
  FakeRunners runners_;
  EditorModel model_;
  CanvasScene scene_;
  std::vector<std::uint8_t> mirror_;
  Observation watching_;
};

TEST(CanvasSceneTest, IsWhatAnExportGivesToTheLastBitWhateverIsDone) {
  int compared = 0;
  for (unsigned seed = 0; seed < 9; ++seed) {
    const PixelSize size{301, 223};
    BackgroundFill fill;
    if (seed % 3 == 1) fill.value = BackgroundFill::Gradient{"dusk"};
    if (seed % 3 == 2) fill.value = BackgroundFill::Solid{"#5ac8fa"};
    Watched watched(seed % 2 == 0 ? pageOf("some words", size) : glassyPage(size), fill);
    RandomUser user(watched.model(), seed);
    for (int i = 0; i < 50; ++i) {
      user.act();
      if (i % 3 == 0) continue;  // several changes while the first is being drawn
      watched.runners().run();
      // While a layer is dragged it is scaled a little differently, until the drag ends.
      if (watched.model().isInStep()) continue;
      ASSERT_EQ(watched.fault(), "") << "seed " << seed << ", step " << i;
      if (watched.scene().picture().pixels == nullptr) continue;
      ++compared;
      ASSERT_TRUE(i % 7 != 0 || watched.halvesAreRight()) << "seed " << seed << ", step " << i;
    }
  }
  EXPECT_GT(compared, 220);
}

TEST(CanvasSceneTest, ALayerIsSeenOnItsWayAndExactWhereItIsLeft) {
  Watched watched(pageOf("some words", {300, 220}), {});
  EditorModel& model = watched.model();
  model.edit("Hide", [](EditorSnapshot& state) {
    Shape box = lineShape(ShapeType::redact, {90, 60}, {170, 120});
    box.redactStyle = RedactStyle::pixelate;
    state.append(std::move(box));
  });
  model.addLayers({{"/a.png", {300, 200}}, {"/b.png", {200, 10}}});
  watched.runners().run();
  ASSERT_EQ(watched.fault(), "");
  const std::string layer = (*model.state().layers)[1].id;
  model.beginStep("Move Layer");
  for (int i = 0; i < 12; ++i) {
    model.setLayerFrame(layer, {10.3 + 7 * i, 5 + 3.7 * i, 120.5 + i, 80});
    if (i % 3 == 0) model.setLayerOpacity(layer, 0.5 + i / 30.0);
    watched.runners().run();
    ASSERT_EQ(watched.fault(24), "") << i;
  }
  model.endStep();
  watched.runners().run();
  EXPECT_EQ(watched.fault(), "");
  model.undo();
  watched.runners().run();
  EXPECT_EQ(watched.fault(), "");
}

}  // namespace
}  // namespace vantorel
