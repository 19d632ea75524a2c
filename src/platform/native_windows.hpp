#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/image.hpp"
#include "base/observers.hpp"
#include "base/pixel_point.hpp"
#include "base/task_runner.hpp"
#include "capture/records/capture_target.hpp"
#include "platform/desktop_look.hpp"

struct xcb_connection_t;

namespace vantorel {

/// What of the user's input a floating window takes. It never takes the focus by being shown.
enum class FloatingInput {
  none,  ///< clicks go to what lies below
  all,   ///< clicks, and keys while it has the keyboard: see `NativeWindows::needsGrabs`
};

/// Fills a part of a window: rows of four bytes a pixel (blue, green, red, none), `stride` bytes
/// apart, which stand for `area` of it.
using PaintBand =
    std::function<void(const PixelRect& area, std::uint8_t* pixels, std::size_t stride)>;

/// What windows of this program need of the display server beyond what their toolkit offers.
/// Positions are device pixels on the desktop, and windows are known by the toolkit's number for
/// them. Without a display server nothing happens and the answers are empty. Lives on the main
/// runner; calls that answer at once wait for the server for a moment.
class NativeWindows {
 public:
  virtual ~NativeWindows() = default;

  /// Puts a window above all others, past the window manager. Called when the toolkit has made it
  /// and before it is shown.
  virtual void floatAboveAll(WindowID window, FloatingInput input) = 0;

  /// The same for a window that covers a whole display for a while and takes all input, `at` being
  /// its place. Without a compositor it is put where the server keeps no copy of it, which a window
  /// of that size takes most of its time for. Such a window is hidden by `uncoverDisplay` alone.
  virtual void coverDisplay(WindowID window, PixelPoint at) = 0;

  /// To be called before the window goes.
  virtual void uncoverDisplay(WindowID window) = 0;

  /// Paints these areas of an opaque window, in its device pixels, past the toolkit and in bands.
  /// What the toolkit keeps for a window of a whole display takes longer to fill than to paint.
  /// False where that cannot be; then nothing was painted.
  [[nodiscard]] virtual bool paint(WindowID window, const std::vector<PixelRect>& areas,
                                   const PaintBand& paint) = 0;

  /// Of a floating window, in its own pixels, where clicks are its own; elsewhere they go to what
  /// lies below.
  virtual void setInputArea(WindowID window, const PixelRect& area) = 0;

  /// Puts a window that the toolkit keeps below all others on all virtual desktops and in no list
  /// of windows, above the desktop's icons. Called when the toolkit has made it and before it is
  /// shown.
  virtual void coverDesktop(WindowID window) = 0;

  /// Whether a floating window must grab pointer and keyboard to have them all to itself.
  [[nodiscard]] virtual bool needsGrabs() const = 0;

  /// Whether a window may be partly transparent, which takes a compositor. Others would be black
  /// where nothing is painted.
  [[nodiscard]] virtual bool canBeTransparent() const = 0;

  /// Whether there is a tray that embeds icon windows.
  [[nodiscard]] virtual bool hasEmbeddingTray() const = 0;

  /// Whether any key of the keyboard or button of the pointer is down, whoever is told of it.
  [[nodiscard]] virtual bool isAnythingPressed() const = 0;

  /// Calls `pressed` whenever a button of the pointer goes down, with the top-level window there (0
  /// where there is none): those of other programs, too, who get the press as ever. Turns of the
  /// wheel are no presses.
  [[nodiscard]] virtual Observation observePresses(
      std::function<void(WindowID topLevel)> pressed) = 0;

  /// How the settings that the desktop shares through the display server want windows to look.
  [[nodiscard]] virtual DesktopLook look() const = 0;

  /// Calls `changed`, later, with the look as it is and with each other one.
  [[nodiscard]] virtual Observation observeLook(
      std::function<void(const DesktopLook& look)> changed) = 0;

  /// The symbol (an X keysym) that a hardware key writes without modifiers, in the first layout;
  /// 0 when that is not known.
  [[nodiscard]] virtual std::uint32_t plainSymbol(std::uint32_t hardwareKey) const = 0;

  [[nodiscard]] virtual std::optional<PixelPoint> pointer() const = 0;
  virtual void movePointer(PixelPoint to) = 0;

  /// The picture that the desktop keeps as its wallpaper, of any size; empty when it paints its
  /// wallpaper in some other way.
  [[nodiscard]] virtual Image wallpaper() const = 0;

  /// Answers when the server has done everything asked for so far.
  virtual void sync() = 0;

  /// Calls `then`, later, when windows mapped, painted or unmapped just now are so in every picture
  /// of the screen.
  virtual void whenShown(Task then) = 0;
};

/// A toolkit's connection to the display server; null where it has none of the kind. Windows have
/// their properties from the connection that maps them.
struct ToolkitConnection {
  xcb_connection_t* x11 = nullptr;
};

/// Where windows are shown. Lives on the main runner.
class DisplayServer {
 public:
  virtual ~DisplayServer() = default;

  /// Whether it answers, asked apart from the toolkit, which would end the program or wait for
  /// ever. Blocks for up to three seconds.
  [[nodiscard]] virtual bool answers() = 0;

  /// For the windows on `connection`, which outlives every call. Never null.
  [[nodiscard]] virtual std::shared_ptr<NativeWindows> nativeWindows(
      ToolkitConnection connection, std::shared_ptr<TaskRunner> main) = 0;
};

}  // namespace vantorel
