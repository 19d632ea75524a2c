// Drives the History window of a program in the tray, which has loop_holds preloaded: how soon it
// is on screen, how long steps of scrolling and letters of a search hold the main thread, and what
// memory paging takes. The display is all its own, with a root window of pure magenta.
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "loop_holds.hpp"

namespace {

using Clock = std::chrono::steady_clock;

// Hardware keys.
constexpr std::uint8_t backspace = 22;
constexpr std::uint8_t letterW = 25;
constexpr std::uint8_t control = 37;
constexpr std::uint8_t letterF = 41;
constexpr std::uint8_t home = 110;
constexpr std::uint8_t pageDown = 117;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

class Screen {
 public:
  Screen() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) std::exit(1);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  }

  [[nodiscard]] int width() const { return screen_->width_in_pixels; }
  [[nodiscard]] int height() const { return screen_->height_in_pixels; }

  [[nodiscard]] bool isRoot(int x, int y) const {
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(
            connection_,
            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                          static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U),
            nullptr),
        &std::free);
    if (!reply) std::exit(1);
    const std::uint8_t* const pixel = xcb_get_image_data(reply.get());
    return (pixel[0] == 255 && pixel[1] == 0) || (pixel[0] + pixel[1] + pixel[2] == 0);
  }

  /// How many corners and the middle show no window.
  [[nodiscard]] int rootPoints() const {
    const int w = width();
    const int h = height();
    const std::array<std::array<int, 2>, 5> points{
        {{40, 60}, {w - 40, 60}, {40, h - 12}, {w - 40, h - 12}, {w / 2, h / 2}}};
    return static_cast<int>(
        std::ranges::count_if(points, [&](const auto& at) { return isRoot(at[0], at[1]); }));
  }

  void press(std::uint8_t key, bool withControl = false) const {
    if (withControl) input(XCB_KEY_PRESS, control);
    input(XCB_KEY_PRESS, key);
    input(XCB_KEY_RELEASE, key);
    if (withControl) input(XCB_KEY_RELEASE, control);
  }
  void wheelDown() const {
    input(XCB_BUTTON_PRESS, 5);
    input(XCB_BUTTON_RELEASE, 5);
  }
  void movePointer(int x, int y) const {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen_->root,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
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

/// What one input did to the main thread, in milliseconds.
struct Hold {
  double longest;
  double longestProcessor;
  double processor;
};

class Holds {
 public:
  explicit Holds(const char* path) {
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    void* const memory =
        ::mmap(nullptr, sizeof(LoopHolds), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) std::exit(1);
    holds_ = static_cast<LoopHolds*>(memory);
  }

  /// Until the loop has waited for `quiet` milliseconds.
  void settle(double quiet) const {
    auto since = Clock::now();
    std::uint64_t turns = holds_->turns;
    const auto begin = since;
    while (millisecondsSince(since) < quiet && millisecondsSince(begin) < 10'000) {
      ::usleep(500);
      if (holds_->turns == turns && holds_->isWaiting) continue;
      turns = holds_->turns;
      since = Clock::now();
    }
  }

  template <typename Input>
  [[nodiscard]] Hold of(double quiet, const Input& input) const {
    holds_->longest = holds_->longestProcessor = holds_->processor = 0;
    input();
    settle(quiet);
    return {double(holds_->longest) * 1e-6, double(holds_->longestProcessor) * 1e-6,
            double(holds_->processor) * 1e-6};
  }

 private:
  LoopHolds* holds_;
};

void print(const char* what, std::vector<double> values, const char* unit = "ms") {
  std::ranges::sort(values);
  std::printf("%-44s %7.1f %s median, %.1f 95th percentile, %.1f most, of %zu\n", what,
              values[values.size() / 2], unit, values[values.size() * 95 / 100], values.back(),
              values.size());
}

void print(const std::string& what, const std::vector<Hold>& holds) {
  const auto column = [&](double Hold::* value) {
    std::vector<double> all;
    for (const Hold& hold : holds) all.push_back(hold.*value);
    return all;
  };
  print((what + ", longest turn").c_str(), column(&Hold::longest));
  print((what + ", its own time").c_str(), column(&Hold::longestProcessor));
  print((what + ", own time of all turns").c_str(), column(&Hold::processor));
}

/// Of a process, in megabytes.
double resident(const std::string& process) {
  std::ifstream status("/proc/" + process + "/status");
  std::string word;
  while (status >> word) {
    if (word != "VmRSS:") continue;
    double kilobytes = 0;
    status >> kilobytes;
    return kilobytes / 1024;
  }
  std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) return 2;  // process, holds, rounds of opening, pages, the command that opens it
  const std::string process = argv[1];
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const Screen screen;
  const Holds holds(argv[2]);
  const int rounds = std::atoi(argv[3]);
  const int pages = std::atoi(argv[4]);
  char** const command = argv + 5;

  holds.settle(1000);
  const double before = resident(process);
  std::vector<double> opened;
  std::vector<Hold> opening;
  for (int round = 0; round <= rounds; ++round) {
    const Hold hold = holds.of(400, [&] {
      const auto start = Clock::now();
      pid_t child = 0;
      if (::posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0) std::exit(1);
      while (screen.rootPoints() != 0) {
        if (millisecondsSince(start) > 10'000) std::exit((std::fputs("no window\n", stderr), 1));
      }
      // The first one of a run is for itself.
      if (round > 0) {
        opened.push_back(millisecondsSince(start));
      } else {
        std::printf("%-44s %7.1f ms\n", "command to History, the first time",
                    millisecondsSince(start));
      }
      int status = 0;
      ::waitpid(child, &status, 0);
    });
    if (round > 0) opening.push_back(hold);
    if (round == rounds) break;
    screen.press(letterW, true);
    while (screen.rootPoints() != 5) {
    }
    holds.settle(300);
  }
  print("command to History", opened);
  print("opening", opening);

  screen.movePointer(screen.width() / 2, screen.height() / 2);
  holds.settle(500);
  std::vector<Hold> steps;
  for (int i = 0; i < 300; ++i) steps.push_back(holds.of(30, [&] { screen.wheelDown(); }));
  print("step of the wheel", steps);

  std::vector<Hold> letters;
  const std::array<std::uint8_t, 4> word{56, 27, 31, 40};  // "brid"
  std::vector<Hold> firstLetters;
  for (int round = 0; round < 5; ++round) {
    screen.press(letterF, true);
    holds.settle(200);
    for (std::size_t i = 0; i < word.size(); ++i) {
      const Hold hold = holds.of(250, [&] { screen.press(word[i]); });
      (i == 0 ? firstLetters : letters).push_back(hold);
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
      letters.push_back(holds.of(250, [&] { screen.press(backspace); }));
    }
  }
  print("first letter", firstLetters);
  print("letter", letters);

  // Back among the tiles.
  screen.press(9);
  holds.settle(300);
  screen.press(9);
  holds.settle(300);
  screen.press(home);
  holds.settle(500);
  std::vector<Hold> paging;
  double most = 0;
  for (int i = 0; i < pages; ++i) {
    paging.push_back(holds.of(120, [&] { screen.press(pageDown); }));
    most = std::max(most, resident(process));
  }
  print("page", paging);
  const double after = resident(process);
  screen.press(letterW, true);
  holds.settle(2000);
  std::printf("memory: %.1f MB with the index, %.1f after paging (%.1f at most), %.1f closed\n",
              before, after, most, resident(process));
  return 0;
}
