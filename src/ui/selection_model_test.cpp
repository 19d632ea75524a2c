#include "ui/selection_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

/// LEFT is 1000x800 at scale 1; RIGHT stands lower and shows two pixels for each point.
class SelectionModelTest : public testing::Test {
 protected:
  SelectionModel make(CaptureMode mode = CaptureMode::region) {
    return SelectionModel(mode,
                          {{"LEFT", "", "", {0, 0, 1000, 800}, {1000, 800}, true},
                           {"RIGHT", "", "", {500, 50, 400, 300}, {800, 600}, false}},
                          windows, {10, 10});
  }

  static std::optional<CaptureTarget> drag(SelectionModel& model, QPoint from, QPoint to) {
    model.movePointer(from);
    model.press();
    model.movePointer(to);
    return model.release();
  }

  static CaptureTarget region(const char* display, PointRect rect) {
    return RegionTarget{display, rect};
  }

  std::vector<WindowSnapshot> windows;
};

TEST_F(SelectionModelTest, DragsBecomePointsOfTheDisplayTheyBeganOn) {
  auto model = make();
  EXPECT_EQ(drag(model, {100, 100}, {740, 580}), region("LEFT", {100, 100, 640, 480}));
  EXPECT_EQ(drag(model, {740, 580}, {100, 100}), region("LEFT", {100, 100, 640, 480}));
  EXPECT_EQ(drag(model, {1002, 103}, {1013, 110}), region("RIGHT", {1, 1.5, 5.5, 3.5}));

  // Over the edge onto the other display, and to the last pixel the pointer can reach.
  EXPECT_EQ(drag(model, {900, 700}, {1500, 650}), region("LEFT", {900, 650, 100, 50}));
  EXPECT_EQ(drag(model, {1200, 400}, {5, 5}), region("RIGHT", {0, 0, 100, 150}));
  EXPECT_EQ(drag(model, {0, 0}, {999, 799}), region("LEFT", {0, 0, 1000, 800}));

  // A click, and a line without width, choose nothing and leave the overlay as it was.
  EXPECT_EQ(drag(model, {50, 50}, {50, 50}), std::nullopt);
  EXPECT_EQ(drag(model, {50, 50}, {50, 90}), std::nullopt);
  EXPECT_FALSE(model.isDragging());
  EXPECT_EQ(model.release(), std::nullopt);
}

TEST_F(SelectionModelTest, ArrowKeysSetTheCornerToThePixelEvenAtTheEdge) {
  auto model = make();
  model.nudge(3, -20);
  EXPECT_EQ(model.pointer(), QPoint(13, 0)) << "the pointer stays on the display";
  model.press();
  model.movePointer({999, 100});
  model.nudge(-1, 0);  // from the edge, which lies one beyond the last pixel
  EXPECT_EQ(model.pointer(), QPoint(999, 100));
  model.movePointer({999, 100});  // the server tells where we moved the pointer to
  EXPECT_EQ(model.chosenArea(), (PixelRect{13, 0, 986, 100}));
  model.nudge(-10, 10);
  EXPECT_EQ(model.release(), region("LEFT", {13, 0, 976, 110}));
}

TEST_F(SelectionModelTest, SpaceCarriesTheSelectionAlongAndStopsAtTheEdge) {
  auto model = make();
  model.movePointer({100, 100});
  model.press();
  model.movePointer({300, 250});
  model.pressSpace();
  model.movePointer({340, 260});
  EXPECT_EQ(model.chosenArea(), (PixelRect{140, 110, 200, 150}));
  model.nudge(0, -1);
  EXPECT_EQ(model.chosenArea(), (PixelRect{140, 109, 200, 150}));
  model.movePointer({20, 260});  // 280 to the left: 180 too far
  EXPECT_EQ(model.chosenArea(), (PixelRect{0, 110, 200, 150}));
  model.releaseSpace();
  EXPECT_EQ(model.pointer(), QPoint(200, 260)) << "back on the corner it drags";
  model.movePointer({210, 260});
  EXPECT_EQ(model.confirm(), std::nullopt) << "not in the middle of a drag";
  EXPECT_EQ(model.release(), region("LEFT", {0, 110, 210, 150}));
  EXPECT_EQ(model.mode(), CaptureMode::region);
}

TEST_F(SelectionModelTest, WindowsArePickedTopmostFirst) {
  const auto window = [](WindowID id, PointRect frame, const char* display = "LEFT") {
    WindowSnapshot snapshot;
    snapshot.windowID = id;
    snapshot.frame = frame;
    snapshot.displayID = display;
    return snapshot;
  };
  windows = {window(1, {0, 0, 1000, 800}), window(2, {0, 0, 1000, 800}),
             window(3, {100, 100, 300, 200}), window(4, {200, 200, 400, 400}),
             window(5, {600, 100, 100, 100}, "RIGHT")};
  windows[0].isOwn = true;
  windows[1].isMinimized = true;
  auto model = make();
  model.pressSpace();
  EXPECT_EQ(drag(model, {250, 250}, {250, 250}), CaptureTarget(WindowTarget{3, "LEFT"}));
  EXPECT_EQ(drag(model, {250, 350}, {550, 550}), CaptureTarget(WindowTarget{4, "LEFT"}));
  EXPECT_EQ(drag(model, {1210, 210}, {1210, 210}), CaptureTarget(WindowTarget{5, "RIGHT"}));
  EXPECT_EQ(model.chosenArea(), (PixelRect{1200, 200, 200, 200}));
  EXPECT_EQ(drag(model, {900, 20}, {900, 20}), std::nullopt) << "only the desktop is there";
  EXPECT_EQ(model.confirm(), CaptureTarget(DisplayTarget{"LEFT"}));
  model.pressSpace();
  EXPECT_EQ(drag(model, {1, 1}, {5, 5}), region("LEFT", {1, 1, 4, 4}));

  windows.clear();
  EXPECT_EQ(make(CaptureMode::window).mode(), CaptureMode::region)
      << "there is no list to pick from";
  EXPECT_EQ(make(CaptureMode::fullscreen).release(), CaptureTarget(DisplayTarget{"LEFT"}));
}

}  // namespace
}  // namespace vantorel
