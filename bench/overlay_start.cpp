// From a command to the frozen picture on a screen, as somebody in front of it sees it: starts the
// command given, watches five pixels of the white root window until all have darkened, and prints
// the time in milliseconds; then takes the overlay down with Escape. The display is all its own.
#include <spawn.h>
#include <sys/wait.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

struct Watched {
  std::int16_t x;
  std::int16_t y;
};

bool isWhite(xcb_connection_t* c, xcb_window_t root, Watched at) {
  const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
      xcb_get_image_reply(
          c, xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, root, at.x, at.y, 1, 1, ~0U), nullptr),
      &std::free);
  if (!reply) std::exit(1);
  const std::uint8_t* const pixel = xcb_get_image_data(reply.get());
  return pixel[0] > 250 && pixel[1] > 250 && pixel[2] > 250;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const int rounds = std::atoi(argv[1]);
  xcb_connection_t* const c = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(c) != 0) return 1;
  const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  const auto right = static_cast<std::int16_t>(screen->width_in_pixels - 3);
  const auto bottom = static_cast<std::int16_t>(screen->height_in_pixels - 3);
  const std::array<Watched, 4> corners{{{2, 2}, {right, 2}, {2, bottom}, {right, bottom}}};
  const auto countOfWhite = [&] {
    return std::ranges::count_if(corners, [&](Watched at) { return isWhite(c, screen->root, at); });
  };
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) {
    while (countOfWhite() != 4) {
    }
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, argv[2], nullptr, nullptr, argv + 2, environ) != 0) return 1;
    while (countOfWhite() != 0) {
    }
    times.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
    constexpr std::uint8_t escape = 9;
    xcb_test_fake_input(c, XCB_KEY_PRESS, escape, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_test_fake_input(c, XCB_KEY_RELEASE, escape, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(c);
    int status = 0;
    waitpid(child, &status, 0);
  }
  std::ranges::sort(times);
  std::printf("command to overlay %8.1f ms median, %.1f 95th percentile, of %d\n",
              times[times.size() / 2], times[times.size() * 95 / 100], rounds);
  xcb_disconnect(c);
  return 0;
}
