#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"

namespace vantorel {

/// The colour of one pixel of test picture number `seed`, 0xAARRGGBB with AA = 255. Neighbours,
/// rows and pictures differ, so that a picture moved, cut or mixed up is noticed.
[[nodiscard]] std::uint32_t testPixel(std::uint32_t seed, int x, int y);

/// "" when every pixel of `image` (alpha aside) is that of picture `seed` from (left, top) on;
/// otherwise the first difference.
[[nodiscard]] std::string differenceFromTestPicture(const Image& image, std::uint32_t seed,
                                                    int left = 0, int top = 0);

struct TestWindow {
  PixelRect area;          ///< on the root window
  std::uint32_t seed = 1;  ///< the picture shown
  std::string title = {};
  std::string className = {};  ///< WM_CLASS
  int depth = 24;              ///< 32: with an alpha channel
  std::uint32_t alpha = 255;   ///< of a window with depth 32; the colours are multiplied by it
  bool overrideRedirect = false;
  std::int64_t pid = 0;                                       ///< 0: not told
  std::optional<std::vector<std::uint32_t>> gtkExtents = {};  ///< left, right, top, bottom
  bool answersPings = false;                                  ///< promises to, while not frozen
};

/// An application of the test's own, drawing known pictures into its windows and repainting them
/// on exposure from a thread of its own. All calls on the test's thread.
class TestClient {
 public:
  explicit TestClient(const std::string& display);
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;
  ~TestClient();

  /// Makes a window, maps it, draws it and answers when all that is on the screen.
  std::uint32_t open(const TestWindow& window);
  void close(std::uint32_t window);
  void unmap(std::uint32_t window);
  void map(std::uint32_t window);
  void resize(std::uint32_t window, PixelSize size);
  /// Draws another picture into a window, of the size that it was opened with.
  void repaint(std::uint32_t window, std::uint32_t seed);
  void raise(std::uint32_t window);
  /// Raises `window` and waits until a window manager has put it above `other`.
  void raiseAbove(std::uint32_t window, std::uint32_t other);
  void moveTo(std::uint32_t window, int x, int y);

  /// Iconify, as a click on the title bar's button does.
  void minimize(std::uint32_t window);

  /// Wallpaper: picture `seed` as the root window's background.
  void paintRoot(std::uint32_t seed);

  /// Neither repaints nor answers from now on: like a program that hangs.
  void freeze() { frozen_ = true; }
  /// Answers still and repaints no more: as if its background were all it shows.
  void stopPainting() { paints_ = false; }

  /// Where the window's content is on the root window.
  [[nodiscard]] PixelRect contentArea(std::uint32_t window);

  /// True when `selection` has an owner.
  [[nodiscard]] bool isOwned(const char* selection);
  [[nodiscard]] bool hasRootProperty(const char* name);

  /// Whether a new window appears. A window manager that is still starting loses the first ones.
  [[nodiscard]] bool windowsGetMapped();

  /// Whether windows are drawn off the screen. A compositor owns its selection a little earlier.
  [[nodiscard]] bool windowsAreRedirected();
  void setRootProperty(const char* name, const std::string& text);

  /// Owns the desktop's settings from now on, with `value` as what _XSETTINGS_SETTINGS holds.
  void setDesktopSettings(const std::string& value);

  /// Press and release of a key (by keysym), as from the real keyboard.
  void key(std::uint32_t keysym, bool press);

  /// Presses these keys in order and lets go of them: {control, 'z'}.
  void chord(const std::vector<std::uint32_t>& keysyms);

  /// Types letters, digits and blanks, each as a key of its own.
  void type(std::string_view text);

  /// The pointer, as from the real mouse; buttons count from 1.
  void moveTo(int x, int y);
  void button(std::uint8_t number, bool press);
  void click(int x, int y);

  /// Waits until everything asked for so far has been done.
  void sync();

  [[nodiscard]] xcb_connection_t* connection() const { return connection_; }
  [[nodiscard]] xcb_atom_t atom(const char* name);

 private:
  struct Content {
    PixelSize size;
    int depth = 24;
    xcb_pixmap_t picture = 0;
  };

  [[nodiscard]] std::uint32_t topLevelOf(std::uint32_t window);
  xcb_pixmap_t makePicture(PixelSize size, int depth, std::uint32_t seed, std::uint32_t alpha);
  void repaintExposed();
  void answerPing(const xcb_client_message_event_t& message);

  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
  xcb_visualid_t argbVisual_ = 0;
  std::map<std::uint8_t, xcb_gcontext_t> contexts_;
  std::mutex mutex_;
  std::map<std::uint32_t, Content> contents_;
  std::map<std::uint32_t, bool> exposed_;
  std::atomic<bool> frozen_ = false;
  std::atomic<bool> paints_ = true;
  xcb_atom_t protocols_ = 0;
  std::thread painter_;
};

}  // namespace vantorel
