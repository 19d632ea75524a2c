#include "platform/linux/x11_frame_streams.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "platform/linux/x_authority.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;

[[maybe_unused]] const bool authorityIsNamedForStreams = (nameXAuthority(), true);

/// A stream on a test desktop; its frames come to the test's own loop.
struct Streaming {
  TestLoop loop;
  std::shared_ptr<TaskRunner> main{&loop, [](TaskRunner*) {}};
  X11FrameStreams streams;
  std::optional<Result<std::unique_ptr<FrameStream>>> started;
  bool keepsFrames = false;
  std::vector<Frame> kept;
  Frame last;
  int frames = 0;
  std::optional<Failure> ended;
  std::function<void(const Frame&)> look = [](const Frame&) {};

  explicit Streaming(const std::string& display) : streams(display, main) {}

  /// Whether it started.
  bool start(FrameStreamRequest request) {
    FrameListener listener{.frame =
                               [this](Frame frame) {
                                 ++frames;
                                 look(frame);
                                 if (keepsFrames) kept.push_back(frame);
                                 last = std::move(frame);
                               },
                           .runner = main,
                           .ended = [this](Failure why) { ended = std::move(why); }};
    streams.start(std::move(request), std::move(listener),
                  [this](auto stream) { started.emplace(std::move(stream)); });
    EXPECT_TRUE(loop.runUntil([&] { return started.has_value(); }));
    return started && started->has_value();
  }
  FrameStream& stream() { return ***started; }

  /// Whether a frame that shows picture `seed` from (left, top) on comes.
  bool shows(std::uint32_t seed, int left = 0, int top = 0) {
    return loop.runUntil([&] {
      return frames > 0 && differenceFromTestPicture(last.image, seed, left, top).empty();
    });
  }
  bool shows(const PixelRect& part, std::uint32_t seed, int left = 0, int top = 0) {
    return loop.runUntil([&] {
      return frames > 0 &&
             differenceFromTestPicture(last.image.cropped(part), seed, left, top).empty();
    });
  }
  /// Runs until all that was taken so far has come; no frame comes afterwards.
  void finish() {
    bool isOver = false;
    stream().stop([&] { isOver = true; });
    EXPECT_TRUE(loop.runUntil([&] { return isOver; }));
  }
};

bool hold(const std::vector<PixelRect>& damage, int x, int y) {
  return std::ranges::any_of(damage, [&](const PixelRect& rect) {
    return x >= rect.x && y >= rect.y && x < rect.right() && y < rect.bottom();
  });
}

TEST(X11FrameStreamsTest, FramesOfARegionComeWhenItChangesAndOnlyThen) {
  TestDesktop desktop({.screen = PixelSize{1280, 800}});
  TestClient painter(desktop.display());
  painter.setRootProperty("RESOURCE_MANAGER", "Xft.dpi:\t192\n");
  painter.paintRoot(1);
  const auto window =
      painter.open({.area = {300, 200, 100, 80}, .seed = 2, .overrideRedirect = true});
  const auto outside =
      painter.open({.area = {900, 600, 100, 80}, .seed = 3, .overrideRedirect = true});
  Streaming streaming(desktop.display());
  ASSERT_TRUE(streaming.start({.target = RegionTarget{"screen", {50, 60, 200, 150}}}));
  EXPECT_EQ(streaming.stream().size(), (PixelSize{400, 300}));
  EXPECT_EQ(streaming.stream().scale(), 2);
  EXPECT_TRUE(streaming.stream().leavesOutOwnWindows());
  const PixelRect content{200, 80, 100, 80};
  ASSERT_TRUE(streaming.shows(content, 2));
  EXPECT_EQ(differenceFromTestPicture(streaming.last.image.cropped({0, 0, 400, 80}), 1, 100, 120),
            "");
  EXPECT_TRUE(hold(streaming.last.damage, 0, 0) && hold(streaming.last.damage, 399, 299));
  EXPECT_EQ(streaming.last.scale, 2);
  EXPECT_EQ(streaming.last.targetSize, (PixelSize{400, 300}));
  EXPECT_EQ(streaming.frames, 1);

  for (std::uint32_t seed = 10; seed < 15; ++seed) {
    const auto before = streaming.last.time;
    painter.repaint(outside, seed);
    painter.repaint(window, seed);
    ASSERT_TRUE(streaming.shows(content, seed)) << seed;
    EXPECT_TRUE(hold(streaming.last.damage, 200, 80) && hold(streaming.last.damage, 299, 159));
    EXPECT_FALSE(hold(streaming.last.damage, 100, 250)) << "nothing changed there";
    EXPECT_GT(streaming.last.time, before);
  }
  // What the server told of before the first barrier has come by the second.
  const int before = streaming.frames;
  for (std::uint32_t seed = 20; seed < 25; ++seed) painter.repaint(outside, seed);
  streaming.loop.runFor(milliseconds(100));
  streaming.finish();
  EXPECT_EQ(streaming.frames, before);
  painter.repaint(window, 99);
  streaming.loop.runFor(milliseconds(50));
  EXPECT_EQ(streaming.frames, before) << "it was stopped";
}

TEST(X11FrameStreamsTest, FramesComeNoFasterThanAskedForAndTheLastChangeIsNeverLost) {
  TestDesktop desktop({.screen = PixelSize{640, 480}, .depth = 16});
  Streaming slow(desktop.display());
  TestClient painter(desktop.display());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(slow.start({.target = DisplayTarget{"screen"}, .framesPerSecond = 20}));
  for (int i = 0; i < 60; ++i) {
    desktop.run({"xsetroot", "-solid", i % 2 == 0 ? "#ff8000" : "#0080ff"});
  }
  desktop.run({"xsetroot", "-solid", "#ff00ff"});
  EXPECT_TRUE(slow.loop.runUntil([&] {
    std::uint32_t pixel = 0;
    if (slow.frames > 0) std::memcpy(&pixel, slow.last.image.row(100).data() + 400, 4);
    return (pixel & 0xFFFFFFU) == 0xFF00FFU;
  })) << "a screen of another depth is converted";
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start);
  EXPECT_GE(slow.frames, 2);
  EXPECT_LE(slow.frames, seconds.count() * 20 + 2);
}

TEST(X11FrameStreamsTest, FramesAreLostWhileAllPicturesAreHeldAndTheNewestComesAfterwards) {
  TestDesktop desktop({.screen = PixelSize{640, 480}});
  TestClient painter(desktop.display());
  painter.paintRoot(1);
  const auto window = painter.open({.area = {0, 0, 640, 200}, .overrideRedirect = true});
  const auto lower = painter.open({.area = {0, 300, 640, 100}, .overrideRedirect = true});
  Streaming streaming(desktop.display());
  streaming.keepsFrames = true;
  ASSERT_TRUE(streaming.start({.target = DisplayTarget{"screen"}, .framesPerSecond = 1000}));
  std::uint32_t seed = 100;
  for (int i = 1; i <= framePictures; ++i) {
    ASSERT_TRUE(streaming.loop.runUntil([&] { return streaming.frames == i; })) << i;
    if (i < framePictures) painter.repaint(window, ++seed);
  }
  for (std::size_t i = 1; i < streaming.kept.size(); ++i) {
    EXPECT_EQ(differenceFromTestPicture(streaming.kept[i].image.cropped({0, 0, 640, 200}),
                                        100 + static_cast<std::uint32_t>(i)),
              "")
        << "what is held stays as it was";
  }
  painter.repaint(lower, 50);
  streaming.loop.runFor(milliseconds(50));
  painter.repaint(window, 200);
  streaming.loop.runFor(milliseconds(50));
  EXPECT_EQ(streaming.frames, framePictures);
  streaming.keepsFrames = false;
  streaming.kept.clear();
  ASSERT_TRUE(streaming.shows({0, 0, 640, 200}, 200));
  EXPECT_EQ(differenceFromTestPicture(streaming.last.image.cropped({0, 300, 640, 100}), 50), "");
  EXPECT_TRUE(hold(streaming.last.damage, 5, 350)) << "of the frames that were lost, too";
  EXPECT_GE(streaming.last.dropped, 1U);

  // The pictures outlive the stream.
  const Image image = streaming.last.image;
  streaming.started.reset();
  EXPECT_EQ(differenceFromTestPicture(image.cropped({0, 0, 640, 200}), 200), "");
}

TEST(X11FrameStreamsTest, OwnWindowsAreNeverInTheFrames) {
  TestDesktop desktop({.screen = PixelSize{640, 480}});
  TestClient application(desktop.display());
  application.paintRoot(1);
  const auto page =
      application.open({.area = {100, 100, 300, 200}, .seed = 2, .overrideRedirect = true});
  Streaming streaming(desktop.display());
  std::string fault;
  streaming.look = [&](const Frame& frame) {
    fault += differenceFromTestPicture(frame.image.cropped({100, 100, 300, 200}), 2) +
             differenceFromTestPicture(frame.image.cropped({0, 300, 640, 180}), 1, 0, 300);
  };
  ASSERT_TRUE(streaming.start({.target = DisplayTarget{"screen"}, .framesPerSecond = 1000}));
  ASSERT_TRUE(streaming.shows({100, 100, 300, 200}, 2));
  TestClient own(desktop.display());
  const auto window =
      own.open({.area = {10, 330, 80, 80}, .seed = 9, .overrideRedirect = true, .pid = getpid()});
  for (int step = 0; step < 40; ++step) {
    const int before = streaming.frames;
    own.moveTo(window, step * 7, 320 + step % 10);
    ASSERT_TRUE(streaming.loop.runUntil([&] { return streaming.frames > before; })) << step;
    ASSERT_EQ(fault, "") << step;
  }
  own.moveTo(window, 150, 150);
  streaming.look = [](const Frame&) {};
  application.repaint(page, 3);
  EXPECT_TRUE(streaming.shows({100, 100, 300, 200}, 3)) << "what it covers is drawn anew";

  // What is drawn to compose a frame is no change that another frame would have to show.
  streaming.loop.runFor(milliseconds(100));
  const int before = streaming.frames;
  streaming.loop.runFor(milliseconds(200));
  EXPECT_EQ(streaming.frames, before);
  own.close(window);
  application.repaint(page, 4);
  EXPECT_TRUE(streaming.shows({100, 100, 300, 200}, 4));
}

TEST(X11FrameStreamsTest, OwnWindowsUnderACompositorAreNeverInTheFrames) {
  TestDesktop desktop({.screen = PixelSize{640, 480}, .windowManager = true, .compositor = true});
  TestClient application(desktop.display());
  application.paintRoot(1);
  const auto page =
      application.open({.area = {100, 100, 300, 200}, .seed = 2, .overrideRedirect = true});
  TestClient own(desktop.display());
  own.open({.area = {0, 0, 640, 480},
            .seed = 9,
            .depth = 32,
            .alpha = 90,
            .overrideRedirect = true,
            .pid = getpid()});
  Streaming streaming(desktop.display());
  ASSERT_TRUE(streaming.start({.target = DisplayTarget{"screen"}}));
  for (std::uint32_t seed = 2; seed < 6; ++seed) {
    application.repaint(page, seed);
    ASSERT_TRUE(streaming.shows({100, 100, 300, 200}, seed)) << seed;
  }
}

TEST(X11FrameStreamsTest, AWindowIsFollowedWhereverItGoes) {
  TestDesktop desktop({.screen = PixelSize{1000, 700}, .windowManager = true});
  TestClient application(desktop.display());
  const auto window = application.open({.area = {100, 100, 400, 300}, .seed = 2});
  TestClient other(desktop.display());
  const auto cover = other.open({.area = {0, 0, 900, 600}, .seed = 3});
  other.raiseAbove(cover, window);
  Streaming streaming(desktop.display());
  ASSERT_TRUE(streaming.start({.target = WindowTarget{window, {}}}));
  EXPECT_EQ(std::get<WindowTarget>(streaming.stream().target()).displayID, "screen");
  const PixelSize size = streaming.stream().size();
  ASSERT_GE(size.width, 400);
  ASSERT_GT(size.height, 305) << "the title bar belongs to the window";
  const PixelRect content{(size.width - 400) / 2, size.height - 300 - (size.width - 400) / 2, 400,
                          300};
  // The frame's border may be wider below.
  const auto contentShows = [&](std::uint32_t seed, const PixelRect& part) {
    return streaming.loop.runUntil([&] {
      for (int dy = -12; dy <= 12 && streaming.frames > 0; ++dy) {
        PixelRect at{content.x + part.x, content.y + part.y + dy, part.width, part.height};
        at = intersection(at, {0, 0, size.width, size.height});
        if (at.height == part.height &&
            differenceFromTestPicture(streaming.last.image.cropped(at), seed, part.x, part.y)
                .empty()) {
          return true;
        }
      }
      return false;
    });
  };
  EXPECT_TRUE(contentShows(2, {0, 0, 400, 280})) << "what covers it is not in it";
  application.repaint(window, 4);
  EXPECT_TRUE(contentShows(4, {0, 0, 400, 280}));
  application.moveTo(window, 500, 300);
  application.repaint(window, 5);
  EXPECT_TRUE(contentShows(5, {0, 0, 400, 280}));

  application.resize(window, {300, 200});
  EXPECT_TRUE(streaming.loop.runUntil(
      [&] { return streaming.last.targetSize == PixelSize{size.width - 100, size.height - 100}; }));
  EXPECT_EQ(streaming.last.image.size(), size) << "the frames keep their size";
  const auto corner = streaming.last.image.row(size.height - 1).last(4);
  EXPECT_EQ(corner[0] | corner[1] | corner[2], 0) << "what the window does not fill is black";
  application.resize(window, {600, 400});
  EXPECT_TRUE(streaming.loop.runUntil(
      [&] { return streaming.last.targetSize == PixelSize{size.width + 200, size.height + 100}; }));
  application.resize(window, {400, 300});
  EXPECT_TRUE(streaming.loop.runUntil([&] { return streaming.last.targetSize == size; }));

  application.minimize(window);
  application.map(window);
  application.repaint(window, 6);
  EXPECT_TRUE(contentShows(6, {0, 0, 400, 280}));
  EXPECT_FALSE(streaming.ended);
  application.close(window);
  ASSERT_TRUE(streaming.loop.runUntil([&] { return streaming.ended.has_value(); }));
  EXPECT_EQ(streaming.ended->kind, FailureKind::notFound);
  EXPECT_EQ(streaming.ended->reason, "the window is no longer there");

  Streaming late(desktop.display());
  ASSERT_FALSE(late.start({.target = WindowTarget{window, {}}}));
  EXPECT_EQ(late.started->error().kind, FailureKind::notFound);
}

TEST(X11FrameStreamsTest, ThePointerIsFollowedWhereItIsAskedFor) {
  TestDesktop desktop({.screen = PixelSize{640, 480}});
  TestClient painter(desktop.display());
  painter.paintRoot(1);
  painter.moveTo(600, 400);
  Streaming streaming(desktop.display());
  ASSERT_TRUE(streaming.start(
      {.target = RegionTarget{"screen", {100, 100, 200, 200}}, .followsPointer = true}));
  ASSERT_TRUE(streaming.shows(1, 100, 100));
  EXPECT_FALSE(streaming.last.cursor.isVisible);
  const int before = streaming.frames;
  painter.moveTo(150, 170);
  ASSERT_TRUE(streaming.loop.runUntil([&] { return streaming.frames > before; }));
  EXPECT_TRUE(streaming.last.cursor.isVisible);
  EXPECT_EQ(streaming.last.cursor.position, (PixelPoint{50, 70}));
  EXPECT_FALSE(streaming.last.cursor.picture.isEmpty());
  EXPECT_TRUE(streaming.last.damage.empty());
  EXPECT_EQ(differenceFromTestPicture(streaming.last.image, 1, 100, 100), "");

  Streaming painted(desktop.display());
  ASSERT_TRUE(painted.start(
      {.target = RegionTarget{"screen", {100, 100, 200, 200}}, .showsPointer = true}));
  ASSERT_TRUE(painted.loop.runUntil([&] { return painted.frames > 0; }));
  EXPECT_NE(differenceFromTestPicture(painted.last.image.cropped({40, 60, 20, 20}), 1, 140, 160),
            "");
  painter.moveTo(600, 400);
  EXPECT_TRUE(painted.shows(1, 100, 100)) << "it has left, and so has its picture";
}

TEST(X11FrameStreamsTest, AStreamEndsWithItsDisplayOrItsServer) {
  TestDesktop desktop({.screen = PixelSize{1280, 800}});
  desktop.setMonitors({{"LEFT", {0, 0, 640, 800}}, {"RIGHT", {640, 0, 640, 800}}});
  Streaming right(desktop.display());
  ASSERT_TRUE(right.start({.target = RegionTarget{"RIGHT", {10, 10, 100, 100}}}));
  desktop.setMonitors({{"LEFT", {0, 0, 640, 800}}});
  ASSERT_TRUE(right.loop.runUntil([&] { return right.ended.has_value(); }));
  EXPECT_EQ(right.ended->kind, FailureKind::notFound);
  EXPECT_EQ(right.ended->reason, "the display is no longer connected");

  Streaming left(desktop.display());
  ASSERT_TRUE(left.start({.target = DisplayTarget{"LEFT"}}));
  Streaming hung(desktop.display());
  ASSERT_TRUE(hung.start({.target = DisplayTarget{"LEFT"}}));
  desktop.server().signal(SIGSTOP);
  Streaming never(desktop.display());
  bool isAnswered = false;
  never.streams.start({.target = DisplayTarget{"LEFT"}},
                      {.frame = [](const Frame&) {}, .runner = never.main, .ended = nullptr},
                      [&](auto) { isAnswered = true; });
  const auto start = std::chrono::steady_clock::now();
  hung.started.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1500));
  EXPECT_FALSE(isAnswered);
  EXPECT_FALSE(hung.ended) << "whoever lets go of a stream hears no more of it";
  desktop.server().signal(SIGCONT);
  desktop.server().signal(SIGKILL);
  ASSERT_TRUE(left.loop.runUntil([&] { return left.ended.has_value(); }));
  EXPECT_EQ(left.ended->kind, FailureKind::unreachable);

  Streaming nowhere(":4242");
  ASSERT_FALSE(nowhere.start({.target = DisplayTarget{"screen"}}));
  EXPECT_EQ(nowhere.started->error().kind, FailureKind::unreachable);
}

}  // namespace
}  // namespace vantorel
