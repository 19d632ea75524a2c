#include "app/capture_pins.hpp"

#include <gmock/gmock.h>

#include "app/annotate_session.hpp"
#include "editor/entry_document.hpp"
#include "editor/shown_picture.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Pins that nobody sees.
class PinsInMemory final : public AppWindows {
 public:
  class Window final : public Surface {
   public:
    Window(std::shared_ptr<PinModel> shown, std::function<void()> closed)
        : model(std::move(shown)), observation(model->observe([closed](const auto& change) {
            if (change.closed) closed();
          })) {}
    void bringForward() override { ++timesForward; }
    std::shared_ptr<PinModel> model;
    Observation observation;
    int timesForward = 0;
  };
  std::shared_ptr<Surface> open(AppWindow, std::function<void()>) override { return nullptr; }
  std::shared_ptr<Surface> openAnnotate(std::shared_ptr<AnnotateModel>,
                                        std::function<void()>) override {
    return nullptr;
  }
  std::shared_ptr<Surface> openPin(std::shared_ptr<PinModel> model,
                                   std::function<void()> closed) override {
    auto window = std::make_shared<Window>(std::move(model), std::move(closed));
    opened.push_back(window);
    return window;
  }
  std::vector<std::weak_ptr<Window>> opened;
};

class CapturePinsTest : public ::testing::Test {
 protected:
  /// Why some are not pinned.
  std::vector<std::string> pin(const std::vector<NamedPicture>& pictures) {
    std::vector<std::string> answers{"nothing was answered"};
    pins.pinAll(pictures, [&](const std::vector<UnopenedPicture>& unopened) {
      answers.clear();
      for (const UnopenedPicture& one : unopened) answers.push_back(sentence(one));
    });
    run.runners.run();
    return answers;
  }
  /// How many shapes are drawn on what it shows.
  int drawn(std::size_t i) { return windows.opened[i].lock()->model->picture().row(0)[0]; }
  void redact(const std::string& id) {
    ASSERT_TRUE(run.store.update(id, [](ScreenshotEntry& entry) {
      entry.shapes.push_back(mixedShape(1));
      entry.shapes.back().type = ShapeType::redact;
    }));
    run.runners.run();
  }

  CoordinatorWorld world;
  AnnotateSession run{world};
  PinsInMemory windows;
  CapturePins pins{{.model = {.main = run.runners.main(),
                              .work = run.runners.runner("drawing"),
                              .codec = run.pictures,
                              .clipboard = [this]() -> Clipboard* { return &run.pasteboard; }},
                    .disk = run.runners.runner("opening"),
                    .files = run.files,
                    .library = run.library,
                    .alerts = run.alerts,
                    .surfaces = run.app->surfaces(),
                    .windows = &windows,
                    .finish = withAnnotations([this](const EditorDocument& document, Image base,
                                                     std::optional<double> scale) {
                      return run.drawing.drawScene(document, std::move(base), scale, *run.files,
                                                   *run.pictures);
                    })}};
};

TEST_F(CapturePinsTest, SeveralAtOnceAndEachOnceAndWhatCannotBeIsNamed) {
  run.add("film", CaptureMedium::recording);
  run.files->put("/outside/Plan.png", run.picture(7));
  EXPECT_THAT(pin({{.capture = "a"},
                   {.capture = "film"},
                   {.file = "/outside/Plan.png"},
                   {.file = "/outside/none.png"},
                   {.file = "/pictures/b.png"}}),
              ElementsAre("film: Only pictures can be pinned.",
                          "/outside/none.png: there is no such file."));
  ASSERT_THAT(windows.opened, SizeIs(3));
  EXPECT_THAT(pin({{.capture = "b"}, {.capture = "a"}}), IsEmpty());
  EXPECT_THAT(windows.opened, SizeIs(3));
  const auto a = *std::ranges::find_if(
      windows.opened, [](const auto& window) { return window.lock()->model->title() == "a"; });
  EXPECT_EQ(a.lock()->timesForward, 2);
  a.lock()->model->copy();
  run.runners.run();
  EXPECT_EQ(run.pasteboard.images, 1);
  a.lock()->model->close();
  run.runners.run();
  EXPECT_TRUE(a.expired());
  EXPECT_THAT(pin({{.capture = "a"}}), IsEmpty());
  EXPECT_THAT(windows.opened, SizeIs(4));
}

TEST_F(CapturePinsTest, AFileOfACaptureIsPinnedAsTheCaptureWhateverLeadsToIt) {
  redact("a");
  run.files->put("/elsewhere/Plan.png", run.picture(7));
  run.files->links["/elsewhere/one.png"] = "/pictures/a.png";
  ASSERT_TRUE(run.files->linkNew("/pictures/a.png", "/elsewhere/a.png"));
  EXPECT_THAT(pin({{.file = "/elsewhere/one.png"},
                   {.file = "/elsewhere/a.png"},
                   {.file = "/pictures/a.png"}}),
              IsEmpty());
  ASSERT_THAT(windows.opened, SizeIs(1));
  EXPECT_EQ(drawn(0), 1) << "what is covered stays covered";
}

TEST_F(CapturePinsTest, WhatIsCoveredLaterIsCoveredOnThePinToo) {
  redact("a");
  pin({{.capture = "a"}, {.capture = "b"}});
  EXPECT_EQ(drawn(0), 1);
  redact("a");
  EXPECT_EQ(drawn(0), 2);
  (void)run.store.removeEntries({"a"});
  run.runners.run();
  EXPECT_FALSE(windows.opened[0].expired()) << "it was put there to be looked at";

  // What can't be drawn may not go on showing what is covered.
  run.drawing.hasNoMemory = true;
  redact("b");
  EXPECT_TRUE(windows.opened[1].expired());
  EXPECT_THAT(run.alerts.notices, ElementsAre(HasSubstr("A pinned capture was closed: “b”")));
}

TEST_F(CapturePinsTest, ClicksComeBackFromTheMenu) {
  int changes = 0;
  pins.onChange = [&] { ++changes; };
  pin({{.capture = "a"}, {.capture = "b"}});
  PinModel& model = *windows.opened[1].lock()->model;
  EXPECT_FALSE(pins.letClicksThrough());
  model.setClickThrough(true);
  EXPECT_TRUE(pins.letClicksThrough());
  EXPECT_EQ(model.opacity(), PinModel::throughOpacity);
  pins.makeClickable();
  EXPECT_FALSE(model.letsClicksThrough());
  EXPECT_EQ(model.opacity(), 1);
  EXPECT_GE(changes, 3);
}

TEST_F(CapturePinsTest, TheKeyboardGoesFromTheNewestPinToTheOldestAndRound) {
  pin({{.capture = "a"}});
  pin({{.capture = "b"}});
  pin({{.capture = "c"}});
  std::vector<std::string> focused;
  std::vector<Observation> observations;
  for (const auto& window : windows.opened) {
    PinModel& model = *window.lock()->model;
    observations.push_back(model.observe([&](const PinModel::Change& change) {
      if (change.keys) focused.push_back(model.title());
    }));
  }
  pins.focusNext();
  pins.focusNext();
  windows.opened[1].lock()->model->passKeysOn();
  pins.focusNext();
  windows.opened[0].lock()->model->setClickThrough(true);
  windows.opened[1].lock()->model->passKeysOn();
  EXPECT_THAT(focused, ElementsAre("c", "b", "a", "c", "a"));
  EXPECT_FALSE(pins.letClicksThrough()) << "one that is worked on takes clicks";
}

TEST(PinModelTest, ATallPictureIsPinnedAsWideAsCanBeReadAndScrolled) {
  FakeRunners runners;
  PinModel pin({.main = runners.main()}, "page",
               MutableImage({1000, 60'000}, PixelFormat::bgrx).finish(), 1);
  pin.setDisplays({{0, 0, 1200, 800}});
  pin.placeOn({0, 0, 1200, 800}, 0);
  EXPECT_EQ(pin.frame(), (Box{400, 100, 400, 600}));
  EXPECT_EQ(pin.shownPart(), (PixelRect{0, 0, 1000, 1500}));
  pin.scrollBy(-50);
  EXPECT_EQ(pin.shownPart().y, 0);
  pin.scrollBy(400);
  EXPECT_EQ(pin.shownPart(), (PixelRect{0, 1000, 1000, 1500}));
  // What lies below the pointer stays there, and the pin within its height.
  pin.zoomBy(5, {500, 250});
  EXPECT_NEAR(pin.shownPart().y + (250 - pin.frame().y) / pin.zoom(), 1000 + 150 / 0.4, 2);
  EXPECT_EQ(pin.frame().h, 600);
  pin.resetZoom();
  EXPECT_EQ(pin.zoom(), 1);
  pin.scrollBy(1e9);
  EXPECT_EQ(pin.shownPart(), (PixelRect{0, 59'400, 1000, 600}));
  // A crop of it that can be seen whole is.
  pin.setPicture(MutableImage({1000, 300}, PixelFormat::bgrx).finish(), 1);
  EXPECT_FALSE(pin.scrolls());
  EXPECT_EQ(pin.shownPart(), (PixelRect{0, 0, 1000, 300}));
}

TEST_F(CapturePinsTest, APinKeepsItsPlaceAndStaysWithinReach) {
  pin({{.capture = "a"}});  // 48 x 30 pixels at two a point
  PinModel& model = *windows.opened[0].lock()->model;
  model.placeOn({0, 0, 1000, 800}, 0);
  EXPECT_EQ(model.frame(), (Box{488, 393, 24, 15}));
  // What lies below the pointer stays there.
  const Pt spot{500, 400};
  const double part = (spot.x - model.frame().x) / model.frame().w;
  model.zoomBy(7, spot);
  EXPECT_GT(model.zoom(), 1.9);
  EXPECT_NEAR((spot.x - model.frame().x) / model.frame().w, part, 1e-9);
  for (int i = 0; i < 200; ++i) model.zoomOut();
  EXPECT_GE(model.frame().w, 23) << "it can still be seen";
  model.resetZoom();
  EXPECT_EQ(model.zoom(), 1);

  // The display it is on goes.
  model.moveBy(5000, 0);
  model.setDisplays({{0, 0, 1000, 800}, {1000, 0, 500, 500}});
  EXPECT_LT(model.frame().x, 1500);
  EXPECT_GE(model.frame().right(), 1000);
  const Box before = model.frame();
  model.setDisplays({{0, 0, 1000, 800}, {1000, 0, 500, 500}});
  EXPECT_EQ(model.frame(), before);
  // Neither keys nor scaling take it away, and it grows no larger than can be looked at.
  for (int i = 0; i < 100; ++i) model.moveBy(100, -100);
  EXPECT_LT(model.frame().x, 1500);
  model.zoomBy(100, {0, 0});
  EXPECT_LE(model.frame().w, 2000);
  EXPECT_GT(model.frame().right(), 0);
  model.resetZoom();
  EXPECT_GT(model.frame().bottom(), 0);
  EXPECT_LT(model.frame().x, 1500);
  // Pinned again, all of it is there.
  pin({{.capture = "a"}});
  EXPECT_GE(model.frame().x, 0);
  EXPECT_GE(model.frame().y, 0);
  for (int i = 0; i < 20; ++i) model.fade(-1);
  EXPECT_EQ(model.opacity(), PinModel::leastOpacity);
}

}  // namespace
}  // namespace vantorel
