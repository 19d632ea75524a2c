#include "ui/selection/selection_model.hpp"

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
  model.movePointer({900, 700});
  model.press();
  model.movePointer({1500, 650});
  EXPECT_EQ(model.detail(), QPoint(999, 650)) << "the area's corner, not the other display";
  model.release();
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
  windows[1].visibility = WindowVisibility::rolledUp;
  auto model = make();
  model.pressSpace();
  EXPECT_EQ(drag(model, {250, 250}, {250, 250}), CaptureTarget(WindowTarget{3, "LEFT"}));
  EXPECT_EQ(drag(model, {250, 350}, {550, 550}), CaptureTarget(WindowTarget{4, "LEFT"}));
  EXPECT_EQ(drag(model, {1210, 210}, {1210, 210}), CaptureTarget(WindowTarget{5, "RIGHT"}));
  EXPECT_EQ(model.chosenArea(), (PixelRect{1200, 200, 200, 200}));
  EXPECT_EQ(drag(model, {900, 20}, {900, 20}), std::nullopt) << "only the desktop is there";
  EXPECT_EQ(model.confirm(), std::nullopt) << "no window stands out";

  // By keys, topmost first, also the covered ones; until the pointer moves.
  for (const WindowID next : {3, 4, 5, 3}) {
    model.moveFocus(1);
    EXPECT_EQ(model.chosenWindow()->id, next);
  }
  model.moveFocus(-1);
  EXPECT_EQ(model.display().id, "RIGHT") << "where the window is";
  EXPECT_EQ(model.confirm(), CaptureTarget(WindowTarget{5, "RIGHT"}));
  model.movePointer({250, 250});
  EXPECT_EQ(model.confirm(), CaptureTarget(WindowTarget{3, "LEFT"}));
  model.pressSpace();
  model.movePointer({1210, 210});
  EXPECT_EQ(model.confirm(), CaptureTarget(DisplayTarget{"RIGHT"}));
  EXPECT_EQ(drag(model, {1, 1}, {5, 5}), region("LEFT", {1, 1, 4, 4}));

  // Nothing lies under the pointer at first: Return takes the topmost one.
  windows[2].frame = {500, 500, 10, 10};
  windows[3].frame = {500, 500, 10, 10};
  auto begun = make(CaptureMode::window);
  EXPECT_EQ(begun.confirm(), CaptureTarget(WindowTarget{3, "LEFT"}));
  begun.movePointer({900, 20});
  EXPECT_EQ(begun.confirm(), std::nullopt);

  windows.clear();
  EXPECT_EQ(make(CaptureMode::window).mode(), CaptureMode::region)
      << "there is no list to pick from";
  EXPECT_EQ(make(CaptureMode::fullscreen).release(), CaptureTarget(DisplayTarget{"LEFT"}));
}

TEST_F(SelectionModelTest, KeysAloneDrawAnAreaStepByStep) {
  auto model = make();
  model.nudge(50, 50);
  EXPECT_EQ(model.confirm(), std::nullopt) << "sets the corner";
  EXPECT_EQ(model.confirm(), std::nullopt) << "nothing is drawn yet";
  model.nudge(200, 0);
  model.nudge(0, -50);
  EXPECT_EQ(model.chosenArea(), (PixelRect{60, 10, 200, 50}));
  EXPECT_EQ(model.confirm(), std::nullopt) << "shows the handles";
  ASSERT_NE(model.adjustment(), nullptr);
  model.nudge(-10, -1);  // the corner drawn last
  EXPECT_EQ(model.detail(), QPoint(249, 9));
  EXPECT_EQ(model.adjustedTarget(), region("LEFT", {60, 9, 190, 51}));

  // Back step by step, and on another display.
  EXPECT_TRUE(model.goBack());
  EXPECT_EQ(model.adjustment(), nullptr);
  model.nudge(1, 0);
  EXPECT_EQ(model.confirm(), std::nullopt);
  EXPECT_TRUE(model.goBack()) << "the corner";
  EXPECT_FALSE(model.isDragging());
  EXPECT_FALSE(model.goBack());
  model.moveToDisplay(1);
  EXPECT_EQ(model.pointer(), QPoint(1400, 400));
  model.selectAll();
  EXPECT_EQ(model.chosenArea(), (PixelRect{1000, 100, 800, 600}));
  model.moveToDisplay(1);
  EXPECT_EQ(model.confirm(), region("LEFT", {0, 0, 1000, 800}));
  EXPECT_TRUE(model.goBack());
  EXPECT_EQ(model.display().id, "LEFT") << "where the keys went, and not where the pointer was";
  EXPECT_EQ(model.pointer(), QPoint(500, 400));
  model.nudge(1, 0);
  model.movePointer({20, 20});
  EXPECT_EQ(model.confirm(), CaptureTarget(DisplayTarget{"LEFT"}))
      << "the pointer is by hand again";
}

TEST_F(SelectionModelTest, AnAreaIsAdjustedByItsHandlesUntilItIsTaken) {
  auto model = make();
  const auto pull = [&](QPoint from, QPoint to) { EXPECT_EQ(drag(model, from, to), std::nullopt); };
  model.movePointer({100, 100});
  model.press();
  model.movePointer({300, 250});
  EXPECT_EQ(model.release(true), std::nullopt);
  EXPECT_EQ(model.chosenArea(), (PixelRect{100, 100, 200, 150}));

  pull({305, 245}, {315, 235});  // the corner, held beside its middle
  EXPECT_EQ(model.chosenArea(), (PixelRect{100, 100, 210, 140}));
  pull({98, 170}, {88, 400});  // an edge moves one way alone
  EXPECT_EQ(model.chosenArea(), (PixelRect{90, 100, 220, 140}));
  pull({200, 150}, {190, 40});  // the inside moves it all, not beyond the display
  EXPECT_EQ(model.chosenArea(), (PixelRect{80, 0, 220, 140}));
  pull({300, 140}, {999, 799});  // to the last pixel the pointer can reach
  EXPECT_EQ(model.chosenArea(), (PixelRect{80, 0, 920, 800}));
  pull({1000, 400}, {20, 20});  // past the opposite side
  EXPECT_EQ(model.chosenArea(), (PixelRect{20, 0, 60, 800}));
  EXPECT_EQ(model.adjustment()->focus(), (AreaGrip{-1, 0})) << "it is the left one now";
  pull({20, 400}, {80, 400});
  EXPECT_EQ(model.chosenArea(), (PixelRect{80, 0, 1, 800})) << "never empty";
  pull({600, 600}, {600, 600});
  EXPECT_EQ(model.chosenArea(), (PixelRect{80, 0, 1, 800})) << "a click beside it is nothing";

  pull({1100, 200}, {1140, 240});  // a new one, on the other display
  EXPECT_EQ(model.chosenArea(), (PixelRect{1100, 200, 40, 40}));
  model.movePointer({1120, 220});
  model.press();
  model.movePointer({1220, 220});
  EXPECT_EQ(model.confirm(), std::nullopt) << "not in the middle of a drag";
  EXPECT_TRUE(model.goBack());
  EXPECT_EQ(model.chosenArea(), (PixelRect{1100, 200, 40, 40}));

  // A corner there and back within one drag, and by keys over a single pixel.
  model.movePointer({1140, 240});
  model.press();
  model.movePointer({1060, 150});
  EXPECT_EQ(model.chosenArea(), (PixelRect{1060, 150, 40, 50}));
  EXPECT_EQ(model.detail(), QPoint(1060, 150));
  model.movePointer({1102, 203});
  EXPECT_EQ(model.chosenArea(), (PixelRect{1100, 200, 2, 3}));
  EXPECT_EQ(model.release(), std::nullopt);
  for (int i = 0; i < 3; ++i) model.nudge(-1, 0);
  EXPECT_EQ(model.chosenArea(), (PixelRect{1098, 200, 2, 3}));
  EXPECT_EQ(model.confirm(), region("RIGHT", {49, 50, 1, 1.5}));
}

TEST_F(SelectionModelTest, AnAreaIsThereAgainAfterALookAtTheWindowsOrANewDrag) {
  windows.resize(1);
  windows[0].frame = {100, 100, 300, 200};
  windows[0].displayID = "LEFT";
  auto model = make();
  model.movePointer({1100, 200});
  model.press();
  model.movePointer({1140, 240});
  EXPECT_EQ(model.release(true), std::nullopt);
  const auto area = region("RIGHT", {50, 50, 20, 20});
  for (const bool bySpace : {true, false}) {
    model.pressSpace();
    EXPECT_EQ(model.mode(), CaptureMode::window);
    model.movePointer({200, 200});
    model.moveFocus(1);
    if (bySpace) {
      model.pressSpace();
    } else {
      EXPECT_TRUE(model.goBack());
    }
    EXPECT_EQ(model.adjustedTarget(), area);
    EXPECT_EQ(model.display().id, "RIGHT");
  }
  model.movePointer({500, 500});
  model.press();
  model.movePointer({600, 600});
  EXPECT_TRUE(model.canGoBack());
  EXPECT_TRUE(model.goBack());
  EXPECT_EQ(model.release(), std::nullopt) << "the button is let go later";
  EXPECT_EQ(model.confirm(), area);

  model.pressSpace();
  model.selectAll();
  EXPECT_TRUE(model.goBack());
  EXPECT_FALSE(model.canGoBack()) << "a new area takes the place of the one set aside";
}

TEST_F(SelectionModelTest, TabGoesRoundTheHandlesAndSizesCanBeTyped) {
  auto model = make();
  model.movePointer({100, 100});
  model.press();
  model.movePointer({300, 250});
  EXPECT_EQ(model.release(true), std::nullopt);
  model.nudge(-1, 10);  // no handle yet: all of it
  EXPECT_EQ(model.chosenArea(), (PixelRect{99, 110, 200, 150}));
  EXPECT_EQ(model.detail(), std::nullopt);
  for (int i = 0; i < 8; ++i) {
    model.moveFocus(1);
    model.nudge(1, 1);
  }
  EXPECT_EQ(model.chosenArea(), (PixelRect{102, 113, 200, 150})) << "each edge three times";
  model.moveFocus(1);
  model.nudge(1000, 1000);
  EXPECT_EQ(model.chosenArea(), (PixelRect{800, 650, 200, 150}));
  model.moveFocus(-1);
  EXPECT_EQ(model.detail(), QPoint(800, 725)) << "the left edge";

  const auto type = [&](const char* digits) {
    for (; *digits != 0; ++digits) model.typeDigit(*digits);
  };
  type("64");
  EXPECT_EQ(model.chosenArea().width, 200) << "not yet";
  model.moveFocus(1);
  type("480");
  model.eraseDigit();
  EXPECT_EQ(model.confirm(), std::nullopt) << "only the size is taken";
  EXPECT_EQ(model.chosenArea(), (PixelRect{800, 650, 64, 48}));
  type("99999");
  model.endSizeEntry();
  EXPECT_EQ(model.chosenArea(), (PixelRect{0, 650, 1000, 48})) << "moved to where it fits";
  type("12");
  model.selectAll();
  EXPECT_EQ(model.chosenArea(), (PixelRect{0, 650, 1000, 48})) << "the number alone";
  type("0");
  model.endSizeEntry();
  type("7");
  EXPECT_TRUE(model.goBack());
  EXPECT_EQ(model.confirm(), region("LEFT", {0, 650, 1000, 48})) << "no size, and one given up";
}

}  // namespace
}  // namespace vantorel
