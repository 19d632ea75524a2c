#include "ui/qt_desktop_ui.hpp"

#include <QApplication>
#include <QIcon>
#include <QSessionManager>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "ui/capture/capture_flash.hpp"
#include "ui/capture/countdown_window.hpp"
#include "ui/capture/desktop_cover.hpp"
#include "ui/card/card_windows.hpp"
#include "ui/kit/alert_dialogs.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/font_preload.hpp"
#include "ui/kit/memory_at_rest.hpp"
#include "ui/kit/program_icon.hpp"
#include "ui/kit/qt_runner.hpp"
#include "ui/qt_app_windows.hpp"
#include "ui/scrolling/qt_scrolling_panel.hpp"
#include "ui/selection/qt_selection_overlay.hpp"
#include "ui/tray/qt_status_item.hpp"

namespace vantorel {
namespace {

std::string environmentText(const char* name) {
  const char* const text = std::getenv(name);
  return text != nullptr ? text : "";
}

/// Variables that the toolkit reads while it starts and that the programs we start shall not see.
/// Gives them back when it goes.
class StartingEnvironment {
 public:
  StartingEnvironment() {
    setUnlessSet("QT_QPA_PLATFORM", "xcb");
    // The themes of other toolkits would load those toolkits, for a few dialogs. KDE's is the
    // toolkit's own, and a choice of the user's stands.
    if (environmentText("XDG_CURRENT_DESKTOP").find("KDE") == std::string::npos) {
      setUnlessSet("QT_QPA_PLATFORMTHEME", "generic");
    }
  }
  StartingEnvironment(const StartingEnvironment&) = delete;
  StartingEnvironment& operator=(const StartingEnvironment&) = delete;
  ~StartingEnvironment() {
    for (const char* const name : names_) unsetenv(name);
  }

 private:
  void setUnlessSet(const char* name, const char* value) {
    if (!environmentText(name).empty()) return;
    setenv(name, value, 1);
    names_.push_back(name);
  }

  std::vector<const char*> names_;
};

/// The toolkit ends the program with words of its own when the display server goes before it is
/// built. Nothing of ours is open by then.
class StartingMessages {
 public:
  StartingMessages() : before_(qInstallMessageHandler(&StartingMessages::take)) {}
  StartingMessages(const StartingMessages&) = delete;
  StartingMessages& operator=(const StartingMessages&) = delete;
  ~StartingMessages() { qInstallMessageHandler(before_); }

 private:
  static void take(QtMsgType type, const QMessageLogContext&, const QString& words) {
    logInfo("Toolkit", "{}", words.toStdString());
    if (type != QtFatalMsg) return;
    std::fputs("Vantorel can't show windows: the display server went away while it started.\n",
               stderr);
    std::_Exit(EXIT_FAILURE);
  }

  QtMessageHandler before_;
};

/// Gives the session bus its address where only its socket tells of it, and where there is none,
/// one that nobody answers: the bus library would start a bus for the first who asks.
void nameTheBus() {
  if (!environmentText("DBUS_SESSION_BUS_ADDRESS").empty()) return;
  const auto socket = std::filesystem::path(environmentText("XDG_RUNTIME_DIR")) / "bus";
  std::error_code ignored;
  const bool found = socket.is_absolute() && std::filesystem::exists(socket, ignored);
  setenv("DBUS_SESSION_BUS_ADDRESS",
         found ? ("unix:path=" + socket.string()).c_str() : "disabled:", 1);
}

ToolkitConnection toolkitConnection() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return {.x11 = x11 != nullptr ? x11->connection() : nullptr};
}

class QtDesktopUi : public DesktopUi {
 public:
  explicit QtDesktopUi(DisplayServer& server)
      : application_(argumentCount_, arguments_),
        native_(server.nativeWindows(toolkitConnection(), runner_)) {
    QApplication::setApplicationName(QStringLiteral("Vantorel"));
    QApplication::setDesktopFileName(QStringLiteral("com.hollen.Vantorel"));
    QApplication::setWindowIcon(programIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    // A saved session would start it with arguments of the toolkit's; Start at Login does it right.
    QObject::connect(
        &application_, &QGuiApplication::saveStateRequest,
        [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
  }

  ~QtDesktopUi() override {
    // Others may hold them longer, but no window outlives the application.
    countdown_->hide([] {});
    cover_->hide();
    scrolling_.close();
  }

  std::shared_ptr<TaskRunner> mainRunner() override { return runner_; }

  int run() override {
    if (quitStatus_) return *quitStatus_;
    isRunning_ = true;
    fonts_.start();
    return QApplication::exec();
  }

  void quit(int status) override {
    if (!isRunning_) {
      quitStatus_ = status;
    } else {
      QApplication::exit(status);
    }
  }

  void setWindowServices(WindowServices services) override {
    windows_.setServices(std::move(services));
  }
  AppWindows& windows() override { return windows_; }
  void showCards(CardStack* stack) override {
    cards_ = stack != nullptr ? std::make_unique<CardWindows>(*stack, native_) : nullptr;
  }
  bool focusCard() override { return cards_ != nullptr && cards_->takeKeyboard(); }
  StatusItem& statusItem() override { return statusItem_; }
  SelectionOverlay& selectionOverlay() override { return overlay_; }
  std::shared_ptr<CountdownPanel> countdownPanel() override { return countdown_; }
  std::shared_ptr<DesktopCoverWindows> desktopCoverWindows() override { return cover_; }
  ScrollingPanel& scrollingPanel() override { return scrolling_; }
  void setClipboard(Clipboard& clipboard) override { overlay_.setClipboard(clipboard); }
  void flash(const PixelRect& area) override { flash_.show(area); }
  Alerts& alerts() override { return alerts_; }
  void setDesktopCoverLook(DesktopCoverLook look) override { cover_->setLook(std::move(look)); }

 private:
  // The toolkit keeps references to both.
  char name_[9] = "vantorel";
  char* arguments_[2] = {name_, nullptr};
  int argumentCount_ = 1;
  QApplication application_;
  const std::shared_ptr<QtRunner> runner_ = std::make_shared<QtRunner>();
  const std::shared_ptr<NativeWindows> native_;
  DesktopPalette palette_{native_};
  const std::shared_ptr<CountdownWindow> countdown_ = std::make_shared<CountdownWindow>(native_);
  const std::shared_ptr<DesktopCover> cover_ = std::make_shared<DesktopCover>(native_);
  QtSelectionOverlay overlay_{native_};
  QtScrollingPanel scrolling_{native_};
  QtStatusItem statusItem_{native_};
  QtAppWindows windows_{native_};
  std::unique_ptr<CardWindows> cards_;
  CaptureFlash flash_{native_};
  AlertDialogs alerts_;
  FontPreload fonts_;
  MemoryAtRest memory_;
  std::optional<int> quitStatus_;
  bool isRunning_ = false;
};

}  // namespace

std::unique_ptr<DesktopUi> makeQtDesktopUi(DisplayServer& server) {
  const StartingEnvironment environment;
  nameTheBus();
  if (environmentText("QT_QPA_PLATFORM").starts_with("xcb") && !server.answers()) {
    logInfo("DesktopUi", "no X server answers at \"{}\"", environmentText("DISPLAY"));
    return nullptr;
  }
  const StartingMessages messages;
  return std::make_unique<QtDesktopUi>(server);
}

}  // namespace vantorel
