#include <X11/keysym.h>
#include <gmock/gmock.h>

#include <QColor>
#include <cstring>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

class SelectionOverlayTest : public UiTestCase {
 protected:
  /// LEFT is 1280x800, RIGHT beside it 1024x600 and 150 lower.
  void startTwoMonitors(const char* resources = nullptr) {
    startDesktop({.screen = PixelSize{2304, 800}});
    desktop->setMonitors({{"LEFT", left}, {"RIGHT", right}});
    if (resources != nullptr) client->setRootProperty("RESOURCE_MANAGER", resources);
    startUi();
  }

  SelectionOverlay::Request request(double scale = 1, CaptureMode mode = CaptureMode::region) {
    const auto frozen = [&](const char* id, PixelRect area, std::uint32_t seed) {
      return FrozenDisplay{
          {id,
           "",
           "",
           {area.x / scale, area.y / scale, area.width / scale, area.height / scale},
           {area.width, area.height},
           false},
          testPicture({area.width, area.height}, seed)};
    };
    WindowSnapshot window;
    window.windowID = 77;
    window.frame = {100, 100, 400, 300};
    window.displayID = "LEFT";
    window.title = "A letter";
    return {mode, {frozen("LEFT", left, 1), frozen("RIGHT", right, 2)}, {window}};
  }

  void select(SelectionOverlay::Request what) {
    answers = 0;
    ui->selectionOverlay().select(std::move(what), [this](SelectionOverlay::Answer choice) {
      ++answers;
      answer = choice ? std::optional(choice->target) : std::nullopt;
      copies = choice && choice->copies;
      end = choice ? std::nullopt : std::optional(choice.error());
      windowsAtAnswer = mappedWindows().size();
    });
    ASSERT_TRUE(waitFor([&] { return mappedWindows().size() == 2; }));
    settle();
  }

  /// "" when `area` of the screen shows picture `seed` of the display at `origin`, untouched.
  static std::string difference(const QImage& screen, PixelRect area, std::uint32_t seed,
                                PixelRect origin) {
    MutableImage part({area.width, area.height}, PixelFormat::bgrx);
    for (int y = 0; y < area.height; ++y) {
      std::memcpy(part.row(y).data(), screen.constScanLine(area.y + y) + std::ptrdiff_t{area.x} * 4,
                  part.row(y).size());
    }
    return differenceFromTestPicture(std::move(part).finish(), seed, area.x - origin.x,
                                     area.y - origin.y);
  }

  bool isKeyboardFree() {
    std::unique_ptr<xcb_grab_keyboard_reply_t, decltype(&std::free)> reply(
        xcb_grab_keyboard_reply(client->connection(),
                                xcb_grab_keyboard(client->connection(), 0, root(), XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr),
        &std::free);
    xcb_ungrab_keyboard(client->connection(), XCB_CURRENT_TIME);
    client->sync();
    return reply->status == XCB_GRAB_STATUS_SUCCESS;
  }

  xcb_window_t root() {
    return xcb_setup_roots_iterator(xcb_get_setup(client->connection())).data->root;
  }

  const PixelRect left{0, 0, 1280, 800};
  const PixelRect right{1280, 150, 1024, 600};
  int answers = 0;
  std::optional<CaptureTarget> answer;
  bool copies = false;
  std::optional<SelectionOverlay::End> end;
  std::size_t windowsAtAnswer = 99;
};

TEST_F(SelectionOverlayTest, DragOnMonitorsOfUnlikeSizeShowsAndAnswersTheExactPixels) {
  startTwoMonitors();
  movePointer({640, 400});
  select(request());
  keepPicture("overlay-idle");
  EXPECT_FALSE(isKeyboardFree());

  movePointer({1500, 300});
  press();
  movePointer({1800, 500});
  const QImage screen = this->screen("overlay-drag");
  EXPECT_EQ(difference(screen, {1500, 300, 300, 200}, 2, right), "") << "the selection is clear";
  EXPECT_NE(difference(screen, {1400, 600, 20, 20}, 2, right), "") << "the rest is dimmed";
  EXPECT_NE(difference(screen, {300, 300, 20, 20}, 1, left), "");
  EXPECT_EQ(answers, 0);
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"RIGHT", {220, 150, 300, 200}}));
  EXPECT_EQ(windowsAtAnswer, 0u) << "the overlay is off the screen when it answers";
  EXPECT_TRUE(isKeyboardFree());

  // From the left display over the edge: cut off there.
  select(request());
  movePointer({1000, 700});
  press();
  movePointer({2000, 500});
  keepPicture("overlay-over-the-edge");
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"LEFT", {1000, 500, 280, 200}}));
}

TEST_F(SelectionOverlayTest, KeysNudgeSwitchConfirmAndCancel) {
  startTwoMonitors();
  movePointer({100, 100});
  select(request());
  strike(XK_Right);
  press();
  movePointer({300, 200});
  strike(XK_Down);
  client->key(XK_Shift_L, true);
  strike(XK_Left);
  client->key(XK_Shift_L, false);
  client->key(XK_space, true);  // carries the selection along
  settle();
  movePointer({301, 211});
  client->key(XK_space, false);
  settle();
  strike(XK_Down);
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"LEFT", {112, 110, 189, 102}}));

  select(request());
  click({50, 50});  // a click in area mode is nothing
  strike(XK_space);
  movePointer({300, 250});
  keepPicture("overlay-window");
  EXPECT_EQ(answers, 0);
  click({300, 250});
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(WindowTarget{77, "LEFT"}));

  movePointer({1700, 400});
  select(request());
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(DisplayTarget{"RIGHT"}));

  for (const bool byKey : {true, false}) {
    select(request());
    press();
    movePointer({1800, 500});
    byKey ? strike(XK_Escape) : press(3);
    ASSERT_TRUE(waitFor([&] { return answers == 1; })) << byKey;
    EXPECT_EQ(answer, std::nullopt);
    EXPECT_EQ(windowsAtAnswer, 0u);
    release(3);
    release();
    EXPECT_EQ(answers, 1);
  }
}

/// Answers nothing but keeps what is copied.
class CopiedText final : public Clipboard {
 public:
  using Done = std::move_only_function<void(Result<void>)>;
  std::string text;
  void setImage(std::string, Done) override {}
  void setText(std::string copied, Done done) override {
    text = std::move(copied);
    done({});
  }
  void setShapes(std::string, Done) override {}
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

TEST_F(SelectionOverlayTest, AnAreaIsAdjustedBeforeItIsTaken) {
  startTwoMonitors();
  CopiedText clipboard;
  ui->setClipboard(clipboard);
  movePointer({400, 200});
  select(request());
  press();
  movePointer({1000, 600});
  client->key(XK_Control_L, true);
  release();
  client->key(XK_Control_L, false);
  settle();
  EXPECT_EQ(answers, 0);
  strike(XK_Tab);
  const QImage adjusting = screen("overlay-adjust");
  EXPECT_EQ(difference(adjusting, {420, 220, 500, 300}, 1, left), "") << "the area is clear";
  for (int i = 0; i < 10; ++i) strike(XK_Left);
  client->key(XK_Control_L, true);
  strike(XK_Up);
  client->key(XK_Control_L, false);
  strike(XK_c);
  EXPECT_EQ(clipboard.text, QColor(testPixel(1, 390, 150)).name().toStdString());
  keepPicture("overlay-adjust-copied");
  movePointer({690, 380});
  press();
  movePointer({710, 390});
  release();
  strike(XK_3);
  strike(XK_2);
  strike(XK_0);
  keepPicture("overlay-adjust-typing");
  client->key(XK_Control_L, true);
  strike(XK_a);
  client->key(XK_Control_L, false);
  keepPicture("overlay-adjust-number");
  for (const auto digit : {XK_3, XK_2, XK_0}) strike(digit);
  strike(XK_Return);
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"LEFT", {410, 160, 320, 450}}));
  EXPECT_FALSE(copies);

  // A keyboard without Latin letters has others in their places.
  desktop->run({"setxkbmap", "ru"});
  movePointer({500, 250});
  select(request());
  strike(XK_Cyrillic_es);
  EXPECT_EQ(clipboard.text, QColor(testPixel(1, 500, 250)).name().toStdString());
  strike(XK_Escape);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  desktop->run({"setxkbmap", "us"});

  // Always, when the setting says so; and the bar's buttons. Near the lower edge it stands above.
  auto what = request();
  what.adjusts = true;
  movePointer({1500, 500});
  select(std::move(what));
  press();
  movePointer({1900, 730});
  release();
  movePointer({1686, 461});
  keepPicture("overlay-adjust-low");
  press();
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"RIGHT", {220, 350, 400, 230}}));
  EXPECT_TRUE(copies);
}

TEST_F(SelectionOverlayTest, KeysAloneChooseAnAreaAWindowAndADisplay) {
  startTwoMonitors();
  movePointer({100, 100});
  select(request());
  for (int i = 0; i < 20; ++i) {  // as fast as keys come
    client->key(XK_Right, true);
    client->key(XK_Right, false);
  }
  settle();
  strike(XK_Return);
  client->key(XK_Control_L, true);
  strike(XK_Right);
  strike(XK_Down);
  client->key(XK_Control_L, false);
  keepPicture("overlay-draw-by-keys");
  strike(XK_Return);
  strike(XK_Escape);
  EXPECT_EQ(answers, 0);
  strike(XK_Return);  // the pointer is where the corner was
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(DisplayTarget{"LEFT"}));

  movePointer({100, 100});
  select(request());
  for (int i = 0; i < 20; ++i) {
    client->key(XK_Right, true);
    client->key(XK_Right, false);
  }
  settle();
  strike(XK_Return);
  client->key(XK_Shift_L, true);
  strike(XK_Right);
  client->key(XK_Shift_L, false);
  strike(XK_Down);
  strike(XK_Return);
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"LEFT", {120, 100, 10, 1}}));

  movePointer({50, 50});
  select(request());
  strike(XK_Tab);
  keepPicture("overlay-window-by-keys");
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(WindowTarget{77, "LEFT"}));

  select(request());
  client->key(XK_Control_L, true);
  strike(XK_a);
  strike(XK_Tab);
  client->key(XK_Control_L, false);
  keepPicture("overlay-display-by-keys");
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"RIGHT", {0, 0, 1024, 600}}));
}

TEST_F(SelectionOverlayTest, BrokenScaleStaysSharpAndExact) {
  startTwoMonitors("Xft.dpi:\t144\n");
  movePointer({640, 400});
  select(request(1.5));
  movePointer({1401, 301});
  press();
  movePointer({1802, 602});
  const QImage screen = this->screen("overlay-scale-1.5");
  EXPECT_EQ(difference(screen, {1401, 301, 401, 301}, 2, right), "");
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  const auto* const region = std::get_if<RegionTarget>(&*answer);
  ASSERT_NE(region, nullptr);
  EXPECT_EQ(toPixels(region->rect, 1.5), (PixelRect{121, 151, 401, 301}));
}

TEST_F(SelectionOverlayTest, AnAreaIsClearOfTheLoupeAndTintedAnewAsAWindow) {
  startTwoMonitors("Xft.dpi:\t192\n");
  movePointer({1000, 600});
  select(request(2));
  press();
  movePointer({300, 250});
  client->key(XK_Control_L, true);
  release();
  client->key(XK_Control_L, false);
  settle();
  strike(XK_Tab);
  strike(XK_Tab);  // the upper edge, with less room above than the loupe needs
  EXPECT_EQ(difference(screen("overlay-loupe-2x"), {320, 290, 660, 290}, 1, left), "");
  strike(XK_space);
  EXPECT_NE(difference(screen("overlay-window-after-area"), {400, 300, 100, 60}, 1, left), "");
}

TEST_F(SelectionOverlayTest, WaitsForTheHeldHotKeyAndEndsWithItsDisplays) {
  startTwoMonitors();
  movePointer({640, 400});
  // The hot key's own grab, held by another connection until the key is let go.
  client->key(XK_Print, true);
  xcb_grab_keyboard(client->connection(), 0, root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                    XCB_GRAB_MODE_ASYNC);
  client->sync();
  select(request());
  strike(XK_Escape);
  EXPECT_EQ(answers, 0);
  client->key(XK_Print, false);
  xcb_ungrab_keyboard(client->connection(), XCB_CURRENT_TIME);
  client->sync();
  settle();
  strike(XK_Escape);
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, std::nullopt);
  EXPECT_EQ(end, SelectionOverlay::End::cancelled);

  // A program that does not let go would be hidden, and would go on getting every key.
  xcb_grab_keyboard(client->connection(), 0, root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                    XCB_GRAB_MODE_ASYNC);
  client->sync();
  select(request());
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(end, SelectionOverlay::End::keyboardHeld);
  EXPECT_EQ(windowsAtAnswer, 0U);
  xcb_ungrab_keyboard(client->connection(), XCB_CURRENT_TIME);
  client->sync();

  select(request());
  ui->selectionOverlay().dismiss();
  EXPECT_EQ(mappedWindows().size(), 0u);
  settle();
  EXPECT_EQ(answers, 0) << "nobody asks any more";

  select(request());
  desktop->setMonitors({{"LEFT", left}});
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, std::nullopt) << "the frozen picture is that of displays that are gone";
  EXPECT_EQ(end, SelectionOverlay::End::displaysChanged);
}

TEST_F(SelectionOverlayTest, StandsAboveManagedWindows) {
  startDesktop({.screen = PixelSize{1280, 800}, .windowManager = true, .compositor = true});
  client->open({.area = {200, 200, 300, 200}, .seed = 9, .title = "Below"});
  startUi();
  movePointer({10, 10});
  auto what = request();
  what.displays.pop_back();
  what.displays[0].display.id = "screen";
  ui->selectionOverlay().select(std::move(what), [this](const SelectionOverlay::Answer& choice) {
    ++answers;
    answer = choice ? std::optional(choice->target) : std::nullopt;
    copies = choice && choice->copies;
  });
  settle();
  movePointer({250, 250});
  press();
  movePointer({450, 350});
  EXPECT_EQ(difference(screen("overlay-managed"), {250, 250, 200, 100}, 1, left), "");
  release();
  ASSERT_TRUE(waitFor([&] { return answers == 1; }));
  EXPECT_EQ(answer, CaptureTarget(RegionTarget{"screen", {250, 250, 200, 100}}));
}

}  // namespace
}  // namespace vantorel
