// Drives an Annotate window of a program in the tray, as hands do: how soon it is on screen with
// its picture, and how long after each event the screen shows what it did. The display is all its
// own, with a root window of pure magenta and a window manager. The pictures have a marker of 30 x
// 30 pixels of pure green, and what is dragged 200 pixels to the right of it and 300 below, 240 x
// 160 pixels large.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Hardware keys.
constexpr std::uint8_t escape = 9;
constexpr std::uint8_t digit1 = 10;
constexpr std::uint8_t digit0 = 19;
constexpr std::uint8_t letterW = 25;
constexpr std::uint8_t enter = 36;
constexpr std::uint8_t control = 37;
constexpr std::uint8_t letterS = 39;
constexpr std::uint8_t letterV = 55;

constexpr std::uint32_t magenta = 0xff00ff;
constexpr std::uint32_t green = 0x00ff00;
constexpr int probeX = 200;  // from the marker
constexpr int probeY = 300;
constexpr int probeWidth = 240;
constexpr int probeHeight = 160;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

struct Point {
  int x = 0;
  int y = 0;
};

class Screen {
 public:
  Screen() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) std::exit(1);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  }

  [[nodiscard]] int width() const { return screen_->width_in_pixels; }
  [[nodiscard]] int height() const { return screen_->height_in_pixels; }

  [[nodiscard]] std::vector<std::uint32_t> area(int x, int y, int width, int height) const {
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(
            connection_,
            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                          static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                          static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
                          ~0U),
            nullptr),
        &std::free);
    if (!reply) std::exit(1);
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    std::memcpy(pixels.data(), xcb_get_image_data(reply.get()), pixels.size() * 4);
    for (std::uint32_t& pixel : pixels) pixel &= 0xffffff;
    return pixels;
  }
  [[nodiscard]] std::uint32_t at(Point point) const { return area(point.x, point.y, 1, 1).front(); }
  [[nodiscard]] std::vector<std::uint32_t> at(const std::vector<Point>& points) const {
    std::vector<std::uint32_t> pixels;
    pixels.reserve(points.size());
    for (const Point point : points) pixels.push_back(at(point));
    return pixels;
  }

  /// The top left corner of what has this color.
  [[nodiscard]] std::optional<Point> find(std::uint32_t color) const {
    constexpr int stripe = 120;
    for (int y = 0; y < height(); y += stripe) {
      const auto pixels = area(0, y, width(), std::min(stripe, height() - y));
      const auto found = std::ranges::find(pixels, color);
      if (found == pixels.end()) continue;
      const auto index = static_cast<int>(found - pixels.begin());
      return Point{index % width(), y + index / width()};
    }
    return std::nullopt;
  }

  void press(std::uint8_t key, bool withControl = false) const {
    if (withControl) input(XCB_KEY_PRESS, control);
    input(XCB_KEY_PRESS, key);
    input(XCB_KEY_RELEASE, key);
    if (withControl) input(XCB_KEY_RELEASE, control);
  }
  void hold(std::uint8_t key, bool isDown) const {
    input(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key);
  }
  void button(std::uint8_t button, bool isDown) const {
    input(isDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button);
  }
  void wheel(bool isUp) const {
    const std::uint8_t number = isUp ? 4 : 5;
    button(number, true);
    button(number, false);
  }
  void move(Point to) const {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen_->root,
                        static_cast<std::int16_t>(to.x), static_cast<std::int16_t>(to.y), 0);
    xcb_flush(connection_);
  }

 private:
  void input(std::uint8_t type, std::uint8_t detail) const {
    xcb_test_fake_input(connection_, type, detail, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(connection_);
  }

  xcb_connection_t* connection_;
  const xcb_screen_t* screen_ = nullptr;
};

void print(const std::string& what, std::vector<double> values) {
  if (values.empty()) {
    std::printf("%-44s nothing was seen\n", what.c_str());
    return;
  }
  std::ranges::sort(values);
  std::printf("%-44s %7.1f ms median, %.1f 95th percentile, %.1f most, of %zu\n", what.c_str(),
              values[values.size() / 2], values[values.size() * 95 / 100], values.back(),
              values.size());
}

/// Of a process, without what it shares with others, in megabytes.
double memoryOf(const std::string& process) {
  std::ifstream rollup("/proc/" + process + "/smaps_rollup");
  std::string word;
  while (rollup >> word) {
    if (word != "Pss:") continue;
    double kilobytes = 0;
    rollup >> kilobytes;
    return kilobytes / 1024;
  }
  std::exit(1);
}

void rest(int milliseconds) { ::usleep(static_cast<unsigned>(milliseconds) * 1000); }

class Bench {
 public:
  Bench(std::string process, std::vector<std::string> command)
      : process_(std::move(process)), command_(std::move(command)) {
    const int w = screen_.width();
    const int h = screen_.height();
    for (int x = 1; x <= 4; ++x) {
      for (int y = 1; y <= 4; ++y) points_.push_back({w / 8 + x * w / 8, h / 8 + y * h / 7});
    }
  }

  void open(const std::string& capture) {
    std::vector<std::string> words = command_;
    words.push_back(capture);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
      std::exit(1);
    }
    child_ = child;
  }
  void opened() {
    int status = 0;
    ::waitpid(child_, &status, 0);
  }

  /// Until the middle shows a window, or none.
  void waitForWindow(bool isThere) {
    const auto start = Clock::now();
    while ((screen_.at({screen_.width() / 2, screen_.height() / 2}) != magenta) != isThere) {
      if (millisecondsSince(start) > 20'000) fail(isThere ? "no window" : "it does not close");
      rest(1);  // asking without a pause would keep the display's server from drawing
    }
  }
  [[noreturn]] static void fail(const char* why) {
    std::fprintf(stderr, "%s\n", why);
    std::exit(1);
  }

  void close() {
    screen_.press(letterS, true);
    rest(700);
    screen_.press(letterW, true);
    const auto start = Clock::now();
    while (millisecondsSince(start) < 2000) {
      if (screen_.at({screen_.width() / 2, screen_.height() / 2}) == magenta) return rest(closing_);
    }
    // What is still being saved is asked about.
    screen_.press(enter);
    waitForWindow(false);
    rest(closing_);
  }

  void measureOpening(const std::string& what, const std::string& capture, int rounds) {
    std::vector<double> windows;
    std::vector<double> pictures;
    std::vector<std::uint32_t> whole;
    for (int round = 0; round <= rounds; ++round) {
      const auto start = Clock::now();
      open(capture);
      waitForWindow(true);
      const double window = millisecondsSince(start);
      if (round == 0) {
        rest(3000);
        whole = screen_.at(points_);
      } else {
        while (screen_.at(points_) != whole) {
          if (millisecondsSince(start) > 20'000) fail("another picture");
          rest(1);
        }
        windows.push_back(window);
        pictures.push_back(millisecondsSince(start));
      }
      opened();
      rest(700);
      close();
    }
    print(what + ": command to window", windows);
    print(what + ": command to the whole picture", pictures);
  }

  /// The middle at 100 %, for what lies on the picture.
  void showAtFull() {
    fit();
    screen_.press(escape);
    screen_.press(letterV);
    screen_.press(digit1, true);
    rest(1000);
    const auto start = Clock::now();
    std::optional<Point> marker;
    while (!(marker = screen_.find(green))) {
      if (millisecondsSince(start) > 120'000) fail("no marker");
    }
    shift_ = *marker;
  }
  [[nodiscard]] Point onScreen(int x, int y) const { return {x + shift_.x, y + shift_.y}; }

  /// The probe, by its middle, in steps; what is seen at its leading edge tells when it came.
  void measureDrag(const std::string& what, int steps) {
    constexpr int stride = 12;
    const Point middle = onScreen(probeX + probeWidth / 2, probeY + probeHeight / 2);
    screen_.move(middle);
    rest(100);
    screen_.button(1, true);
    rest(200);
    std::vector<double> times;
    int unseen = 0;
    Point at = middle;
    int direction = 1;
    for (int i = 0; i < steps; ++i) {
      if (i > 0 && i % 40 == 0) direction = -direction;
      at.x += direction * stride;
      std::vector<Point> edge;
      for (int k = -2; k <= 2; ++k) {
        edge.push_back({at.x + direction * (probeWidth / 2 - 5), at.y + k * 25});
      }
      const auto before = screen_.at(edge);
      const auto start = Clock::now();
      screen_.move(at);
      bool isSeen = true;
      while (screen_.at(edge) == before) {
        if (millisecondsSince(start) < 300) continue;
        isSeen = false;
        break;
      }
      if (isSeen) {
        times.push_back(millisecondsSince(start));
      } else {
        ++unseen;
      }
      rest(12);
    }
    screen_.button(1, false);
    rest(300);
    print(what, times);
    if (unseen > 0) std::printf("%-44s %d\n", "  steps that changed nothing there", unseen);
  }

  void measureWheel(const std::string& what, int steps, bool zooms, int turn) {
    const Point middle{screen_.width() / 2 - 100, screen_.height() / 2};
    screen_.move(middle);
    rest(100);
    if (zooms) screen_.hold(control, true);
    std::vector<double> times;
    for (int i = 0; i < steps; ++i) {
      const auto before = screen_.at(points_);
      const auto start = Clock::now();
      screen_.wheel(i / turn % 2 == 0);
      bool isSeen = false;
      while (!isSeen && millisecondsSince(start) < 300) {
        const auto now = screen_.at(points_);
        std::size_t changed = 0;
        for (std::size_t k = 0; k < now.size(); ++k) changed += now[k] != before[k] ? 1 : 0;
        isSeen = changed >= now.size() - 3;
      }
      if (isSeen) times.push_back(millisecondsSince(start));
      rest(i % turn == turn - 1 ? 250 : 12);
    }
    if (zooms) screen_.hold(control, false);
    rest(300);
    print(what, times);
  }

  /// Short drags, each a step that can be undone.
  void makeSteps(int steps) {
    Point at = onScreen(probeX + probeWidth / 2, probeY + probeHeight / 2);
    for (int i = 0; i < steps; ++i) {
      screen_.move(at);
      rest(4);
      screen_.button(1, true);
      at.x += i % 2 == 0 ? 20 : -20;
      screen_.move(at);
      rest(4);
      screen_.button(1, false);
      rest(8);
    }
    rest(500);
  }

  [[nodiscard]] double memory() const { return memoryOf(process_); }
  void fit() const {
    screen_.press(digit0, true);
    rest(500);
  }

 private:
  Screen screen_;
  std::string process_;
  std::vector<std::string> command_;
  std::vector<Point> points_;
  int closing_ = std::getenv("closing") ? std::atoi(std::getenv("closing")) : 500;
  Point shift_;
  pid_t child_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;  // process, rounds of opening, the command without the capture
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  Bench bench(argv[1], {argv + 3, argv + argc});
  const int rounds = std::atoi(argv[2]);
  const auto show = [&](const char* capture) {
    bench.open(capture);
    bench.waitForWindow(true);
    bench.opened();
    rest(3000);
  };

  const double atRest = bench.memory();
  bench.measureOpening("plain", "plain", rounds);
  bench.measureOpening("200 shapes", "many", rounds);

  show("many");
  bench.measureWheel("zoom step from fit", 80, true, 8);
  bench.showAtFull();
  bench.measureWheel("scroll step at 100 %", 80, false, 8);
  bench.showAtFull();
  bench.measureDrag("shape dragged among 200", 200);
  bench.makeSteps(200);
  const double open = bench.memory();
  bench.close();
  rest(3000);
  const double closed = bench.memory();

  show("redacted");
  bench.showAtFull();
  bench.measureDrag("redaction dragged among 60", 200);
  bench.close();

  show("crowded");
  bench.showAtFull();
  bench.measureDrag("shape dragged among 10,000", 200);
  bench.measureWheel("scroll step among 10,000", 80, false, 8);
  bench.close();
  std::printf("memory: %.1f MB at rest, %.1f with 200 shapes and 200 steps, %.1f closed\n", atRest,
              open, closed);
  return 0;
}
