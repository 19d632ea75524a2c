#pragma once

#include <memory>
#include <string>

#include "app/app_windows.hpp"
#include "app/card_stack.hpp"
#include "app/scrolling_panel.hpp"
#include "app/status_menu.hpp"
#include "app/window_services.hpp"
#include "base/geometry.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_surfaces.hpp"
#include "platform/alerts.hpp"
#include "platform/clipboard.hpp"
#include "platform/native_windows.hpp"
#include "settings/setting_choices.hpp"

namespace vantorel {

/// What the windows show that hide the desktop's icons. `color` stands in for a wallpaper or an
/// image that cannot be had.
struct DesktopCoverLook {
  DesktopCoverStyle style = DesktopCoverStyle::wallpaper;
  std::string image;  ///< of `custom`: the picture file's bytes
  std::string color = "#3a3a3c";
};

/// Everything with a window, in a module of its own that is loaded only when a window is needed: a
/// plain command does not pay for the toolkit. One object a process, made and used on the thread
/// of `main()`, which becomes the main runner's thread. The parts live as long as this; the runner
/// may be kept longer, but runs nothing then.
class DesktopUi {
 public:
  virtual ~DesktopUi() = default;

  [[nodiscard]] virtual std::shared_ptr<TaskRunner> mainRunner() = 0;

  /// Runs the event loop until `quit` and answers with the status given. A `quit` before it makes
  /// it answer at once.
  virtual int run() = 0;
  virtual void quit(int status) = 0;

  [[nodiscard]] virtual StatusItem& statusItem() = 0;
  [[nodiscard]] virtual SelectionOverlay& selectionOverlay() = 0;
  [[nodiscard]] virtual std::shared_ptr<CountdownPanel> countdownPanel() = 0;
  [[nodiscard]] virtual std::shared_ptr<DesktopCoverWindows> desktopCoverWindows() = 0;
  [[nodiscard]] virtual ScrollingPanel& scrollingPanel() = 0;

  /// The program's windows, made of these.
  virtual void setWindowServices(WindowServices services) = 0;
  [[nodiscard]] virtual AppWindows& windows() = 0;

  /// From now on the cards of this stack are shown; it must outlive that. Null ends it.
  virtual void showCards(CardStack* stack) = 0;
  /// Gives the keyboard to the newest card. False when there is no capture to make one of.
  virtual bool focusCard() = 0;

  /// For what is copied in windows; must outlive them.
  virtual void setClipboard(Clipboard& clipboard) = 0;

  /// `notify` of these alerts does nothing but log: notifications are the platform's.
  [[nodiscard]] virtual Alerts& alerts() = 0;

  /// Frames an area, in pixels of the desktop, for a moment. It takes no focus and no clicks.
  virtual void flash(const PixelRect& area) = 0;

  /// For the next time the desktop's icons are covered.
  virtual void setDesktopCoverLook(DesktopCoverLook look) = 0;
};

/// The name under which the module exports its factory, of type `DesktopUiFactory`.
inline constexpr const char* desktopUiFactoryName = "vantorelMakeDesktopUi";

/// Null when there is no window system to show windows on, or it does not answer. The caller
/// deletes the object. `server` is used only meanwhile.
using DesktopUiFactory = DesktopUi* (*)(DisplayServer& server);

}  // namespace vantorel
