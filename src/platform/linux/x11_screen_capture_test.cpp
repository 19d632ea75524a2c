#include "platform/linux/x11_screen_capture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xfixes.h>

#include <cstring>
#include <fstream>
#include <thread>

#include "platform/linux/desktop_session.hpp"
#include "platform/linux/x_authority.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

// As the program does before its first thread.
[[maybe_unused]] const bool authorityIsNamed = (nameXAuthority(), true);

/// A capture service on a test desktop, as a program has it.
struct Capture {
  TestLoop loop;
  std::shared_ptr<TaskRunner> main{&loop, [](TaskRunner*) {}};
  std::shared_ptr<X11Worker> worker;
  X11ScreenCapture screen;
  X11WindowList list;

  explicit Capture(const std::string& display, WindowContents contents = WindowContents::onDemand)
      : worker(makeCaptureWorker(display, contents)), screen(worker, main), list(worker, main) {}

  Result<std::vector<DisplaySnapshot>> displays() {
    auto got = loop.answer<Result<std::vector<DisplaySnapshot>>>(
        [&](auto reply) { screen.displays(std::move(reply)); });
    return got ? std::move(*got) : failed(FailureKind::timedOut, "no answer");
  }
  Result<GrabbedPicture> grab(GrabRequest request) {
    auto got = loop.answer<Result<GrabbedPicture>>(
        [&](auto reply) { screen.grab(std::move(request), std::move(reply)); });
    return got ? std::move(*got) : failed(FailureKind::timedOut, "no answer");
  }
  Result<std::vector<WindowSnapshot>> windows() {
    auto got = loop.answer<Result<std::vector<WindowSnapshot>>>(
        [&](auto reply) { list.windows(std::move(reply)); });
    return got ? std::move(*got) : failed(FailureKind::timedOut, "no answer");
  }
  /// The picture of a grab that must succeed.
  Image image(CaptureTarget target, bool shadow = true, std::vector<WindowID> keptOwn = {}) {
    auto got = grab({std::move(target), shadow, std::move(keptOwn)});
    EXPECT_TRUE(got.has_value()) << (got ? "" : got.error().reason);
    return got ? got->image : Image();
  }
};

std::uint32_t pixel(const Image& image, int x, int y) {
  std::uint32_t value = 0;
  std::memcpy(&value, image.row(y).data() + static_cast<std::size_t>(x) * 4, 4);
  return value;
}

TEST(X11ScreenCaptureTest, DisplaysAndRegionsEqualTheScreenPixelForPixel) {
  TestDesktop desktop({.screen = PixelSize{3840, 2160}});
  TestClient painter(desktop.display());
  painter.paintRoot(7);
  Capture capture(desktop.display());
  const auto one = capture.displays();
  ASSERT_TRUE(one) << one.error().reason;
  ASSERT_EQ(one->size(), 1U);
  EXPECT_TRUE((*one)[0].isMain);
  EXPECT_EQ((*one)[0].pixelSize, (PixelSize{3840, 2160}));
  const Image whole = capture.image(DisplayTarget{(*one)[0].id});
  ASSERT_EQ(whole.size(), (PixelSize{3840, 2160}));
  EXPECT_EQ(whole.format(), PixelFormat::bgrx);
  EXPECT_EQ(differenceFromTestPicture(whole, 7), "");

  // Two monitors of unlike size and offset, and a change of them while we look.
  int changes = 0;
  capture.screen.onDisplaysChange([&] { ++changes; });
  ASSERT_TRUE(capture.displays());
  desktop.setMonitors({{"RIGHT", {1920, 300, 1600, 1200}}, {"LEFT", {0, 0, 1920, 1080}}});
  EXPECT_TRUE(capture.loop.runUntil([&] {
    const auto now = capture.displays();
    return now && now->size() == 2;
  }));
  EXPECT_GT(changes, 0);
  painter.setRootProperty("RESOURCE_MANAGER", "Xcursor.size:\t48\nXft.dpi:\t192\n");
  const auto two = capture.displays();
  ASSERT_TRUE(two && two->size() == 2);
  // Xfce doubles what windows draw apart from the resolution, and takes it back.
  const auto scaleIs = [&](double wanted) {
    return capture.loop.runUntil([&] {
      const auto now = capture.displays();
      return now && (*now)[0].scale() == wanted;
    });
  };
  const auto settings = [](char factor) {
    return std::string("\0\0\0\0\1\0\0\0\2\0\0\0", 12) +
           std::string("\1\0\4\0Name\0\0\0\0\5\0\0\0Adwai\0\0\0", 24) +
           std::string("\0\0\27\0Gdk/WindowScalingFactor\0\0\0\0\0", 32) +
           std::string{factor, 0, 0, 0};
  };
  painter.setDesktopSettings(settings(2));
  EXPECT_TRUE(scaleIs(4));
  painter.setDesktopSettings(settings(1));
  EXPECT_TRUE(scaleIs(2));
  const DisplaySnapshot& right = (*two)[0];
  EXPECT_EQ(right.id, "RIGHT");
  EXPECT_TRUE(right.isMain);
  EXPECT_EQ(right.bounds, (PointRect{960, 150, 800, 600}));
  EXPECT_EQ(right.scale(), 2);
  EXPECT_NE(right.uuid, (*two)[1].uuid);
  EXPECT_EQ(differenceFromTestPicture(capture.image(DisplayTarget{"RIGHT"}), 7, 1920, 300), "");
  EXPECT_EQ(differenceFromTestPicture(capture.image(DisplayTarget{"LEFT"}), 7), "");

  // All of them at once; what the server keeps above the right one nobody has seen.
  const auto all = capture.grab({AllDisplaysTarget{}, true, {}});
  ASSERT_TRUE(all) << all.error().reason;
  EXPECT_EQ(all->scale, 2);
  ASSERT_EQ(all->image.size(), (PixelSize{3520, 1500}));
  EXPECT_EQ(differenceFromTestPicture(all->image.cropped({0, 0, 1920, 1080}), 7), "");
  EXPECT_EQ(differenceFromTestPicture(all->image.cropped({1920, 300, 1600, 1200}), 7, 1920, 300),
            "");
  EXPECT_EQ(pixel(all->image, 1920, 299) & 0xFFFFFFU, 0U);
  EXPECT_EQ(pixel(all->image, 1919, 1080) & 0xFFFFFFU, 0U);

  const auto region = capture.grab({RegionTarget{"RIGHT", {10.5, 20, 100, 50}}, true, {}});
  ASSERT_TRUE(region) << region.error().reason;
  EXPECT_EQ(region->scale, 2);
  EXPECT_EQ(region->image.size(), (PixelSize{200, 100}));
  EXPECT_EQ(differenceFromTestPicture(region->image, 7, 1920 + 21, 300 + 40), "");
  const Image clipped = capture.image(RegionTarget{"LEFT", {-10, 530, 30, 100}});
  EXPECT_EQ(clipped.size(), (PixelSize{40, 20}));
  EXPECT_EQ(differenceFromTestPicture(clipped, 7, 0, 1060), "");

  const auto outside = capture.grab({RegionTarget{"LEFT", {5000, 0, 10, 10}}, true, {}});
  ASSERT_FALSE(outside);
  EXPECT_EQ(outside.error().kind, FailureKind::notFound);
  const auto unplugged = capture.grab({DisplayTarget{"HDMI-9"}, true, {}});
  ASSERT_FALSE(unplugged);
  EXPECT_EQ(unplugged.error().kind, FailureKind::notFound);
  const auto dialog = capture.grab({DesktopChoiceTarget{}, true, {}});
  ASSERT_FALSE(dialog);
  EXPECT_EQ(dialog.error().kind, FailureKind::unsupported);

  // A monitor that does not name itself is the same one after a change of its size.
  desktop.setMonitors({{"RIGHT", {1920, 300, 800, 600}}, {"LEFT", {0, 0, 1920, 1080}}});
  const auto resized = capture.displays();
  ASSERT_TRUE(resized);
  EXPECT_EQ((*resized)[0].pixelSize, (PixelSize{800, 600}));
  EXPECT_EQ((*resized)[0].uuid, right.uuid);
  desktop.setMonitors({{"RIGHT", {1920, 300, 1600, 1200}}, {"LEFT", {0, 0, 1920, 1080}}});
  ASSERT_TRUE(capture.displays());
  capture.loop.runFor(milliseconds(20));

  const auto before = changes;
  desktop.setMonitors({{"RIGHT", {1920, 300, 1600, 1200}}, {"LEFT", {0, 0, 1920, 1080}}});
  ASSERT_TRUE(capture.displays());
  capture.loop.runFor(milliseconds(20));
  EXPECT_LE(changes, before + 4) << "at most one for each monitor taken away and put back";

  // Beyond the root window there is nothing, and what there is keeps its place.
  desktop.setMonitors({{"WIDE", {3000, 1000, 1400, 1400}}});
  ASSERT_TRUE(capture.loop.runUntil([&] {
    const auto now = capture.displays();
    return now && now->size() == 1 && (*now)[0].id == "WIDE";
  }));
  const Image wide = capture.image(DisplayTarget{"WIDE"});
  ASSERT_EQ(wide.size(), (PixelSize{1400, 1400}));
  EXPECT_EQ(differenceFromTestPicture(wide.cropped({0, 0, 840, 1160}), 7, 3000, 1000), "");
  EXPECT_EQ(pixel(wide, 900, 100) & 0xFFFFFFU, 0U);
}

TEST(X11ScreenCaptureTest, ScreensOfOtherDepthsAreConvertedOrRefused) {
  const auto middle = [](int depth) {
    TestDesktop desktop({.screen = PixelSize{320, 200}, .depth = depth});
    desktop.run({"xsetroot", "-solid", "#ff8000"});
    Capture capture(desktop.display());
    return capture.grab({DisplayTarget{"screen"}, true, {}});
  };
  const auto high = middle(16);
  ASSERT_TRUE(high) << high.error().reason;
  EXPECT_EQ(pixel(high->image, 100, 100) & 0xF8FCF8U, 0xF88000U);
  const auto deep = middle(30);
  ASSERT_TRUE(deep) << deep.error().reason;
  EXPECT_EQ(pixel(deep->image, 100, 100) & 0xF8FCF8U, 0xF88000U);
  const auto indexed = middle(8);
  ASSERT_FALSE(indexed);
  EXPECT_EQ(indexed.error().kind, FailureKind::unsupported);
}

TEST(X11ScreenCaptureTest, CoveredWindowsComeOutWhole) {
  TestDesktop desktop({.screen = PixelSize{1280, 800}, .windowManager = true});
  TestClient application(desktop.display());
  application.paintRoot(1);
  const auto below = application.open({.area = {100, 100, 500, 400}, .seed = 2, .title = "below"});
  TestClient other(desktop.display());
  const auto cover = other.open({.area = {200, 150, 700, 500}, .seed = 3, .title = "cover"});
  other.raiseAbove(cover, below);
  // The window without the frame around it, which the list tells.
  const auto content = [&](Capture& capture, TestClient& client, WindowID window) {
    Image image = capture.image(WindowTarget{window, {}});
    const auto windows = capture.windows();
    for (const auto& listed : *windows) {
      if (listed.windowID != window) continue;
      EXPECT_EQ(image.size(), (PixelSize{static_cast<int>(listed.frame.width),
                                         static_cast<int>(listed.frame.height)}));
      PixelRect area = client.contentArea(static_cast<std::uint32_t>(window));
      area.x -= static_cast<int>(listed.frame.x);
      area.y -= static_cast<int>(listed.frame.y);
      EXPECT_GT(area.y, 5) << "the title bar belongs to the window";
      return image.cropped(area);
    }
    ADD_FAILURE() << "the window is not listed";
    return image;
  };
  {
    // A command that has just connected: the application is asked to paint what was covered.
    Capture cold(desktop.display());
    const auto got = cold.grab({WindowTarget{below, {}}, true, {}});
    ASSERT_TRUE(got) << got.error().reason;
    EXPECT_EQ(std::get<WindowTarget>(got->target).displayID, "screen");
    EXPECT_EQ(differenceFromTestPicture(content(cold, application, below), 2), "");
  }
  {
    // A program that stays: from its start on, also of applications that hang.
    Capture staying(desktop.display(), WindowContents::keptFromStart);
    ASSERT_TRUE(staying.displays());
    staying.loop.runFor(milliseconds(300));
    application.freeze();
    EXPECT_EQ(differenceFromTestPicture(content(staying, application, below), 2), "");
    EXPECT_EQ(differenceFromTestPicture(content(staying, other, cover), 3), "");
    application.minimize(below);
    const auto minimized = staying.grab({WindowTarget{below, {}}, true, {}});
    ASSERT_FALSE(minimized);
    EXPECT_EQ(minimized.error().reason, "the window is minimized");
    const auto grabbedWith = [&](const char* name, xcb_atom_t type, std::uint32_t value) {
      xcb_change_property(application.connection(), XCB_PROP_MODE_REPLACE, below,
                          application.atom(name), type, 32, 1, &value);
      application.sync();
      const auto unseen = staying.grab({WindowTarget{below, {}}, true, {}});
      return unseen ? std::string("grabbed") : unseen.error().reason;
    };
    EXPECT_EQ(grabbedWith("_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, 3),
              "the window is on another workspace");
    EXPECT_EQ(grabbedWith("_NET_WM_STATE", XCB_ATOM_ATOM, application.atom("_NET_WM_STATE_SHADED")),
              "the window is rolled up to its title bar");
    other.close(cover);
    const auto closed = staying.grab({WindowTarget{cover, {}}, true, {}});
    ASSERT_FALSE(closed);
    EXPECT_EQ(closed.error().kind, FailureKind::notFound);
  }
}

TEST(X11ScreenCaptureTest, AHangingApplicationDoesNotHoldAColdGrabUp) {
  TestDesktop desktop;
  TestClient application(desktop.display());
  const auto below = application.open({.area = {0, 0, 300, 300}, .seed = 2});
  TestClient other(desktop.display());
  other.open({.area = {100, 100, 700, 500}, .seed = 3});
  application.freeze();
  Capture cold(desktop.display());
  const auto start = std::chrono::steady_clock::now();
  const Image image = cold.image(WindowTarget{below, {}});
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1000));
  ASSERT_EQ(image.size(), (PixelSize{300, 300}));
  EXPECT_EQ(differenceFromTestPicture(image.cropped({0, 0, 300, 100}), 2), "")
      << "what could be seen is there";
  const auto other32Bits = cold.grab({WindowTarget{below + (WindowID{1} << 32), {}}, true, {}});
  ASSERT_FALSE(other32Bits);
  EXPECT_EQ(other32Bits.error().kind, FailureKind::notFound);

  // One that was halted is known to draw nothing, and so its background is not taken for it.
  const ChildProcess halted = desktop.start({"sleep", "60"});
  halted.signal(SIGSTOP);
  int status = 0;
  ASSERT_EQ(::waitpid(halted.pid(), &status, WUNTRACED), halted.pid());
  TestClient third(desktop.display());
  const auto stopped = third.open({.area = {50, 50, 300, 300}, .seed = 4, .pid = halted.pid()});
  other.open({.area = {150, 150, 700, 500}, .seed = 3});
  third.freeze();
  const auto refused = cold.grab({WindowTarget{stopped, {}}, true, {}});
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.error().reason, HasSubstr("the window's application is stopped"));
}

// A window manager paints its frame whether or not the application within it hangs.
TEST(X11ScreenCaptureTest, AWindowWhoseApplicationDoesNotRespondIsRefusedWhereItIsCovered) {
  for (const bool windowManager : {false, true}) {
    TestDesktop desktop({.windowManager = windowManager});
    TestClient hanging(desktop.display());
    const auto lost = hanging.open({.area = {50, 50, 300, 300}, .seed = 2, .answersPings = true});
    TestClient quiet(desktop.display());
    const auto kept = quiet.open({.area = {400, 50, 300, 300}, .seed = 3, .answersPings = true});
    TestClient other(desktop.display());
    const auto cover = other.open({.area = {20, 20, 700, 200}, .seed = 4});
    quiet.stopPainting();
    Capture capture(desktop.display());
    EXPECT_TRUE(capture.grab({WindowTarget{lost, {}}, true, {}}));
    hanging.freeze();
    const auto refused = capture.grab({WindowTarget{lost, {}}, true, {}});
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().reason, HasSubstr("the window's application doesn't respond"));
    EXPECT_TRUE(capture.grab({WindowTarget{kept, {}}, true, {}}))
        << "one that answers has nothing more to paint";
    hanging.raiseAbove(lost, cover);
    EXPECT_TRUE(capture.grab({WindowTarget{lost, {}}, true, {}})) << "all of it is on the screen";
  }
}

TEST(X11ScreenCaptureTest, ShadowAlphaAndShapeOfWindows) {
  TestDesktop desktop;
  TestClient client(desktop.display());
  const auto shadowed = client.open({.area = {100, 100, 400, 300},
                                     .seed = 4,
                                     .depth = 32,
                                     .alpha = 128,
                                     .gtkExtents = {{26, 26, 23, 29}}});
  Capture capture(desktop.display());
  const Image with = capture.image(WindowTarget{shadowed, {}}, true);
  ASSERT_EQ(with.size(), (PixelSize{400, 300}));
  EXPECT_EQ(with.format(), PixelFormat::bgraPremultiplied);
  EXPECT_EQ(pixel(with, 5, 5) >> 24U, 128U);
  EXPECT_EQ(pixel(with, 5, 5) >> 16U & 0xFFU, (testPixel(4, 5, 5) >> 16U & 0xFFU) * 128 / 255);
  const Image without = capture.image(WindowTarget{shadowed, {}}, false);
  ASSERT_EQ(without.size(), (PixelSize{348, 248}));
  EXPECT_EQ(pixel(without, 0, 0), pixel(with, 26, 23));

  // A window with its corner cut off.
  const auto shaped = client.open({.area = {700, 100, 200, 200}, .seed = 6});
  const auto region = xcb_generate_id(client.connection());
  const xcb_rectangle_t shape[] = {{50, 0, 150, 200}, {0, 50, 50, 150}};
  xcb_discard_reply(client.connection(),
                    xcb_xfixes_query_version(client.connection(), 5, 0).sequence);
  xcb_xfixes_create_region(client.connection(), region, 2, shape);
  xcb_xfixes_set_window_shape_region(client.connection(), shaped, 0, 0, 0, region);
  client.sync();
  const Image cut = capture.image(WindowTarget{shaped, {}});
  EXPECT_EQ(cut.format(), PixelFormat::bgraPremultiplied);
  EXPECT_EQ(pixel(cut, 20, 20), 0U);
  EXPECT_EQ(pixel(cut, 60, 20), testPixel(6, 60, 20));
  EXPECT_EQ(differenceFromTestPicture(cut.cropped({0, 50, 200, 150}), 6, 0, 50), "");

  // Partly beyond the screen's edge, where a plain grab would fail.
  const auto edge = client.open({.area = {1100, 700, 400, 300}, .seed = 5});
  const Image beyond = capture.image(WindowTarget{edge, {}});
  ASSERT_EQ(beyond.size(), (PixelSize{400, 300}));
  EXPECT_EQ(differenceFromTestPicture(beyond, 5), "");
}

TEST(X11ScreenCaptureTest, TheProgramsOwnWindowsNeverShow) {
  for (const bool hasWallpaperProperty : {true, false}) {
    for (const auto contents : {WindowContents::onDemand, WindowContents::keptFromStart}) {
      TestDesktop desktop({.screen = PixelSize{1280, 800}, .windowManager = true});
      TestClient application(desktop.display());
      if (hasWallpaperProperty) {
        application.paintRoot(1);
      } else {
        desktop.run({"xsetroot", "-solid", "#204060"});
      }
      Capture capture(desktop.display(), contents);
      ASSERT_TRUE(capture.displays());
      application.open({.area = {300, 200, 500, 400}, .seed = 2, .overrideRedirect = true});
      TestClient own(desktop.display());
      const auto framed =
          own.open({.area = {100, 100, 400, 300}, .seed = 8, .title = "own", .pid = getpid()});
      own.open(
          {.area = {600, 400, 500, 300}, .seed = 9, .overrideRedirect = true, .pid = getpid()});
      own.raise(framed);
      const auto kept = own.open(
          {.area = {1200, 0, 80, 50}, .seed = 10, .overrideRedirect = true, .pid = getpid()});

      const Image screen = capture.image(DisplayTarget{"screen"}, true, {kept});
      EXPECT_EQ(differenceFromTestPicture(screen.cropped({1200, 0, 80, 50}), 10), "");
      EXPECT_EQ(differenceFromTestPicture(screen.cropped({300, 200, 500, 400}), 2), "");
      const PixelRect pieces[] = {
          {0, 0, 1200, 200}, {0, 200, 300, 400}, {800, 200, 480, 400}, {0, 600, 1280, 200}};
      for (const PixelRect& piece : pieces) {
        const Image part = screen.cropped(piece);
        if (hasWallpaperProperty) {
          EXPECT_EQ(differenceFromTestPicture(part, 1, piece.x, piece.y), "");
        } else {
          for (int x = 0; x < piece.width; x += 7) {
            ASSERT_EQ(pixel(part, x, piece.height / 2) & 0xFFFFFFU, 0x204060U) << x;
          }
        }
      }
      const auto refused = capture.grab({WindowTarget{framed, {}}, true, {}});
      EXPECT_FALSE(refused) << "a window of the program's own was captured";
    }
  }
}

TEST(X11ScreenCaptureTest, OwnWindowsThatMoveOrOpenMeanwhileNeverShow) {
  TestDesktop desktop({.screen = PixelSize{640, 480}});
  TestClient application(desktop.display());
  application.paintRoot(1);
  application.open({.area = {100, 100, 300, 200}, .seed = 2, .overrideRedirect = true});
  Capture capture(desktop.display());
  ASSERT_TRUE(capture.displays());
  // Over the wallpaper alone, which the server paints at once where it is uncovered.
  const std::jthread restless([&desktop](const std::stop_token& ended) {
    TestClient own(desktop.display());
    const auto open = [&own](int x) {
      return own.open(
          {.area = {x, 330, 80, 80}, .seed = 9, .overrideRedirect = true, .pid = getpid()});
    };
    const auto window = open(10);
    for (int step = 0; !ended.stop_requested(); ++step) {
      own.moveTo(window, step * 7 % 500, 310 + step * 3 % 80);
      if (step % 16 == 0) own.close(open(step % 500));
    }
  });
  for (int i = 0; i < 40 && !HasFailure(); ++i) {
    const Image screen = capture.image(DisplayTarget{"screen"});
    EXPECT_EQ(differenceFromTestPicture(screen.cropped({100, 100, 300, 200}), 2), "");
    EXPECT_EQ(differenceFromTestPicture(screen.cropped({0, 0, 640, 100}), 1), "");
    EXPECT_EQ(differenceFromTestPicture(screen.cropped({0, 300, 640, 180}), 1, 0, 300), "");
  }
}

TEST(X11ScreenCaptureTest, OwnWindowsUnderACompositor) {
  TestDesktop desktop({.screen = PixelSize{1000, 700}, .windowManager = true, .compositor = true});
  TestClient application(desktop.display());
  application.paintRoot(1);
  const auto window =
      application.open({.area = {100, 100, 500, 400}, .seed = 2, .overrideRedirect = true});
  TestClient own(desktop.display());
  own.open({.area = {0, 0, 1000, 700},
            .seed = 9,
            .depth = 32,
            .alpha = 90,
            .overrideRedirect = true,
            .pid = getpid()});
  Capture capture(desktop.display());
  const Image screen = capture.image(DisplayTarget{"screen"});
  EXPECT_EQ(differenceFromTestPicture(screen.cropped({100, 100, 500, 400}), 2), "");
  EXPECT_EQ(differenceFromTestPicture(screen.cropped({0, 600, 1000, 100}), 1, 0, 600), "");
  application.freeze();
  EXPECT_EQ(differenceFromTestPicture(capture.image(WindowTarget{window, {}}), 2), "")
      << "with a compositor even a hanging application's window is whole";
}

// What is seen below all windows then is the compositor's own, or nobody's.
TEST(X11ScreenCaptureTest, OwnWindowsOverABareRootWindow) {
  constexpr std::uint32_t color = 0xFFFFFF;
  for (const bool compositor : {true, false}) {
    TestDesktop desktop({.screen = PixelSize{1000, 700}, .compositor = compositor});
    TestClient client(desktop.display());
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(client.connection())).data->root;
    const auto setBackground = [&](std::uint32_t attribute, std::uint32_t value) {
      xcb_change_window_attributes(client.connection(), root, attribute, &value);
      xcb_clear_area(client.connection(), 0, root, 0, 0, 0, 0);
      client.sync();
    };
    setBackground(XCB_CW_BACK_PIXEL, 0x204060);
    Capture capture(desktop.display());
    client.open({.area = {50, 50, 200, 200}, .seed = 2, .overrideRedirect = true});
    client.open(
        {.area = {150, 100, 400, 300}, .seed = 9, .overrideRedirect = true, .pid = getpid()});
    const auto expectGround = [&](std::uint32_t alone, const char* what) {
      const Image screen = capture.image(DisplayTarget{"screen"});
      const std::uint32_t wanted = compositor ? pixel(screen, 900, 600) & color : alone;
      EXPECT_EQ(differenceFromTestPicture(screen.cropped({50, 50, 200, 200}), 2), "") << what;
      for (int x = 260; x < 700; x += 10) {
        ASSERT_EQ(pixel(screen, x, 240) & color, wanted) << what << " at " << x;
      }
    };
    expectGround(0x204060, "a color");
    setBackground(XCB_CW_BACK_PIXMAP, XCB_BACK_PIXMAP_NONE);
    expectGround(0, "none");

    // A wallpaper counts that the compositor shows; who draws it last is not heard of at once.
    client.paintRoot(1);
    const auto shows = [&] {
      return pixel(capture.image(DisplayTarget{"screen"}), 900, 600) == testPixel(1, 900, 600);
    };
    ASSERT_TRUE(capture.loop.runUntil(shows));
    EXPECT_EQ(
        differenceFromTestPicture(
            capture.image(DisplayTarget{"screen"}).cropped({260, 100, 400, 300}), 1, 260, 100),
        "");
  }
}

TEST(X11ScreenCaptureTest, ServersThatStopVanishOrNeverWere) {
  {
    Capture nowhere(":4242");
    const auto displays = nowhere.displays();
    ASSERT_FALSE(displays);
    EXPECT_EQ(displays.error().kind, FailureKind::unreachable);
    EXPECT_THAT(displays.error().reason, HasSubstr("\":4242\" cannot be reached"));
  }
  TestDesktop desktop;
  const auto bounded = [](auto&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1500));
  };
  {
    std::optional<Capture> connected(std::in_place, desktop.display());
    ASSERT_TRUE(connected->displays());
    desktop.server().signal(SIGSTOP);
    int replies = 0;
    connected->screen.grab({DisplayTarget{"screen"}, true, {}}, [&](auto) { ++replies; });
    connected->screen.displays([&](auto) { ++replies; });
    connected->loop.runFor(milliseconds(200));
    EXPECT_EQ(replies, 0);
    bounded([&] { connected.reset(); });
  }
  {
    std::optional<Capture> connecting(std::in_place, desktop.display());
    connecting->screen.displays([](auto) { FAIL() << "a stopped server answered"; });
    connecting->loop.runFor(milliseconds(100));
    bounded([&] { connecting.reset(); });
  }
  desktop.server().signal(SIGCONT);
  Capture late(desktop.display());
  ASSERT_TRUE(late.displays());
  desktop.server().signal(SIGKILL);
  const auto gone = late.grab({DisplayTarget{"screen"}, true, {}});
  ASSERT_FALSE(gone);
  EXPECT_EQ(gone.error().kind, FailureKind::unreachable);
}

TEST(X11ScreenCaptureTest, TheWindowListNamesTitlesApplicationsAndPlaces) {
  TestDesktop desktop({.screen = PixelSize{1280, 800}, .windowManager = true});
  desktop.enter();
  const auto applications = desktop.dataHome() / "applications";
  std::filesystem::create_directory(applications);
  std::ofstream(applications / "org.example.Painter.desktop")
      << "[Desktop Entry]\nType=Application\nName=Example Painter\nExec=painter %U\n"
         "StartupWMClass=PainterMain\n";
  TestClient painter(desktop.display());
  const auto low = painter.open({.area = {50, 80, 300, 200},
                                 .title = "Zeichnung – 図.png",
                                 .className = "PainterMain",
                                 .pid = getppid()});
  TestClient own(desktop.display());
  const auto mine = own.open(
      {.area = {600, 300, 200, 100}, .title = "mine", .className = "Nobody", .pid = getpid()});
  const auto hidden = painter.open({.area = {10, 10, 100, 100}, .title = "away"});
  painter.minimize(hidden);
  Capture capture(desktop.display());
  const auto windows = capture.windows();
  ASSERT_TRUE(windows) << windows.error().reason;
  std::map<WindowID, WindowSnapshot> byID;
  std::map<WindowID, std::size_t> place;
  for (const auto& window : *windows) {
    place[window.windowID] = byID.size();
    byID[window.windowID] = window;
  }
  ASSERT_EQ(byID.size(), 3U);
  EXPECT_EQ(byID[low].title, "Zeichnung – 図.png");
  EXPECT_EQ(byID[low].ownerName, "Example Painter");
  EXPECT_EQ(byID[low].applicationID, "org.example.Painter");
  EXPECT_EQ(byID[low].ownerPID, getppid());
  EXPECT_FALSE(byID[low].isOwn);
  EXPECT_EQ(byID[low].displayID, "screen");
  const PixelRect content = painter.contentArea(low);
  EXPECT_LE(byID[low].frame.x, content.x);
  EXPECT_GE(byID[low].frame.bottom(), content.bottom());
  EXPECT_LT(byID[low].frame.y, content.y - 5) << "the title bar belongs to the frame";
  EXPECT_TRUE(byID[mine].isOwn);
  EXPECT_EQ(byID[mine].ownerName, "Nobody");
  EXPECT_EQ(byID[hidden].visibility, WindowVisibility::minimized);
  EXPECT_TRUE(byID[low].isShown());
  EXPECT_LT(place[mine], place[low]) << "the topmost comes first";

  // Others hide windows without unmapping them.
  const auto visibility = [&](const char* name, xcb_atom_t type,
                              const std::vector<std::uint32_t>& values) {
    xcb_change_property(painter.connection(), XCB_PROP_MODE_REPLACE, low, painter.atom(name), type,
                        32, static_cast<std::uint32_t>(values.size()), values.data());
    painter.sync();
    const auto listed = capture.windows();
    return std::ranges::find(*listed, low, &WindowSnapshot::windowID)->visibility;
  };
  const xcb_atom_t isHidden = painter.atom("_NET_WM_STATE_HIDDEN");
  const xcb_atom_t isShaded = painter.atom("_NET_WM_STATE_SHADED");
  EXPECT_EQ(visibility("_NET_WM_STATE", XCB_ATOM_ATOM, {isHidden}), WindowVisibility::minimized);
  EXPECT_EQ(visibility("_NET_WM_STATE", XCB_ATOM_ATOM, {isHidden, isShaded}),
            WindowVisibility::rolledUp);
  EXPECT_EQ(visibility("_NET_WM_STATE", XCB_ATOM_ATOM, {}), WindowVisibility::shown);
  EXPECT_EQ(visibility("WM_STATE", painter.atom("WM_STATE"), {3, 0}), WindowVisibility::minimized);
  EXPECT_EQ(visibility("_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {7}),
            WindowVisibility::onOtherWorkspace);

  // Windows that come and go while the list is made.
  TestClient restless(desktop.display());
  for (int i = 0; i < 30; ++i) {
    fprintf(stderr, "r%d\n", i);
    const auto window = restless.open({.area = {0, 0, 20, 20}, .title = "short"});
    capture.list.windows([](auto list) { EXPECT_TRUE(list.has_value()); });
    restless.close(window);
  }
  EXPECT_TRUE(capture.windows());
}

TEST(X11ScreenCaptureTest, WithoutAWindowManagerWhatIsMappedIsListed) {
  TestDesktop desktop;
  TestClient client(desktop.display());
  const auto window = client.open({.area = {5, 6, 70, 80}, .title = "bare"});
  Capture capture(desktop.display());
  const auto windows = capture.windows();
  ASSERT_TRUE(windows && windows->size() == 1U);
  EXPECT_EQ((*windows)[0].windowID, window);
  EXPECT_EQ((*windows)[0].frame, (PointRect{5, 6, 70, 80}));
}

}  // namespace
}  // namespace vantorel
