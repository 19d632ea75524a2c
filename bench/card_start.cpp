// From a capture being filed to its card, as somebody in front of the screen sees it. Starts the
// command given, which captures the whole display, takes the time when the program's log says that
// the index with it is on disk, and watches two pixels: one within the card wherever it slides in,
// and its left edge at its place. The display is all its own: its left half is red and its right
// half blue, so that the card's left half differs from what lies below. A middle click dismisses
// the card.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int cardWidth = 280;
constexpr int fromEdge = 16;

struct Screen {
  xcb_connection_t* connection;
  xcb_window_t root;
  int width;
  int height;

  void paintHalves() const {
    const xcb_gcontext_t context = xcb_generate_id(connection);
    const xcb_pixmap_t picture = xcb_generate_id(connection);
    const auto half = static_cast<std::uint16_t>(width / 2);
    const auto whole = static_cast<std::uint16_t>(height);
    xcb_create_pixmap(connection, 24, picture, root, static_cast<std::uint16_t>(width), whole);
    std::uint32_t color = 0xD02020;
    xcb_create_gc(connection, context, picture, XCB_GC_FOREGROUND, &color);
    const std::array<xcb_rectangle_t, 2> halves{
        {{0, 0, half, whole}, {static_cast<std::int16_t>(half), 0, half, whole}}};
    xcb_poly_fill_rectangle(connection, picture, context, 1, halves.data());
    color = 0x2020D0;
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &color);
    xcb_poly_fill_rectangle(connection, picture, context, 1, &halves[1]);
    xcb_change_window_attributes(connection, root, XCB_CW_BACK_PIXMAP, &picture);
    xcb_clear_area(connection, 0, root, 0, 0, 0, 0);
    xcb_free_pixmap(connection, picture);
    xcb_free_gc(connection, context);
    xcb_flush(connection);
  }

  [[nodiscard]] bool isRed(int x, int y) const {
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), 1, 1, ~0U),
            nullptr),
        &std::free);
    if (!reply) std::exit(1);
    const std::uint8_t* const pixel = xcb_get_image_data(reply.get());
    return pixel[2] > 2 * pixel[0];
  }

  void input(std::uint8_t type, std::uint8_t detail, int x, int y) const {
    xcb_test_fake_input(connection, type, detail, XCB_CURRENT_TIME, root,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    xcb_flush(connection);
  }
};

/// Reads the program's log until it says that the capture is in the index on disk.
void awaitIndex(std::FILE* log) {
  std::array<char, 4096> line{};
  while (std::fgets(line.data(), line.size(), log) != nullptr) {
    if (std::strstr(line.data(), "[CaptureLatency] index:") != nullptr) return;
  }
  std::exit(1);
}

void print(const char* what, std::vector<double> times) {
  std::ranges::sort(times);
  std::printf("%-24s %7.1f ms median, %.1f 95th percentile, of %zu\n", what,
              times[times.size() / 2], times[times.size() * 95 / 100], times.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;  // rounds, the log (a pipe), the command
  const int rounds = std::atoi(argv[1]);
  xcb_connection_t* const c = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(c) != 0) return 1;
  const xcb_screen_t* const shown = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  const Screen screen{c, shown->root, shown->width_in_pixels, shown->height_in_pixels};
  screen.paintHalves();
  std::FILE* const log = std::fopen(argv[2], "re");
  if (log == nullptr) return 1;

  const int left = screen.width - fromEdge - cardWidth;
  const int height = screen.height - fromEdge - 60;
  std::vector<double> visible;
  std::vector<double> settled;
  for (int round = 0; round < rounds; ++round) {
    usleep(400'000);  // what went before is written
    pid_t child = 0;
    if (posix_spawnp(&child, argv[3], nullptr, nullptr, argv + 3, environ) != 0) return 1;
    awaitIndex(log);
    const auto filed = Clock::now();
    const auto since = [&] {
      return std::chrono::duration<double, std::milli>(Clock::now() - filed).count();
    };
    while (!screen.isRed(left + 60, height)) {
      if (since() > 5000) return std::fputs("no card\n", stderr), 1;
    }
    visible.push_back(since());
    while (!screen.isRed(left + 2, height)) {
      if (since() > 5000) return std::fputs("the card is not at its place\n", stderr), 1;
    }
    settled.push_back(since());
    int status = 0;
    waitpid(child, &status, 0);
    usleep(200'000);
    screen.input(XCB_MOTION_NOTIFY, 0, left + 100, height);
    screen.input(XCB_BUTTON_PRESS, 2, 0, 0);
    screen.input(XCB_BUTTON_RELEASE, 2, 0, 0);
    while (screen.isRed(left + 60, height)) {
    }
    screen.input(XCB_MOTION_NOTIFY, 0, 100, 100);
  }
  print("filed to card shown", visible);
  print("filed to card at rest", settled);
  xcb_disconnect(c);
  return 0;
}
