#include "main/desktop_wing.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include "base/lifetime.hpp"
#include "base/log.hpp"
#include "main/terminal_surfaces.hpp"
#include "platform/linux/command_bus.hpp"

namespace vantorel {
namespace {

constexpr const char* settingsTitle = "Settings";

/// As long as a person needs to notice a flash and hear a sound.
constexpr std::chrono::milliseconds cueLength{700};

/// Dialogs by the toolkit, passing messages by the desktop.
class DesktopAlerts final : public Alerts {
 public:
  DesktopAlerts(Alerts& dialogs, DesktopNotifications& notifications,
                std::shared_ptr<TaskRunner> main)
      : dialogs_(dialogs), notifications_(notifications), main_(std::move(main)) {}

  AlertID ask(Alert alert, std::function<void(std::size_t)> answered) override {
    return dialogs_.ask(std::move(alert), std::move(answered));
  }
  void dismiss(AlertID question) override { dialogs_.dismiss(question); }
  void bringForward() override { dialogs_.bringForward(); }
  [[nodiscard]] bool isModalDialogUp() const override { return dialogs_.isModalDialogUp(); }
  void notify(std::string title, std::string body) override {
    notifications_.notify(std::move(title), std::move(body));
  }
  void tell(std::string title, std::string body, std::function<void()> shown) override {
    const std::uint64_t number = ++last_;
    told_[title] = number;
    auto answered =
        lifetime_.guard([this, number, title, body, shown = std::move(shown)](bool isTaken) {
          if (isTaken) return shown();
          // The service may have taken long to say no, and the message may not hold any more.
          const auto told = told_.find(title);
          if (told != told_.end() && told->second == number) dialogs_.tell(title, body, shown);
        });
    notifications_.notify(std::move(title), std::move(body),
                          [main = main_, answered = std::move(answered)](bool isTaken) {
                            main->post([answered, isTaken]() mutable { answered(isTaken); });
                          });
  }
  void withdraw(std::string title) override {
    told_.erase(title);
    dialogs_.withdraw(title);
    notifications_.withdraw(std::move(title));
  }

 private:
  std::uint64_t last_ = 0;
  std::map<std::string, std::uint64_t> told_;  ///< the last of each title
  Alerts& dialogs_;
  DesktopNotifications& notifications_;
  std::shared_ptr<TaskRunner> main_;
  Lifetime lifetime_;
};

std::unique_ptr<Alerts> makeAlerts(DesktopUi* ui, DesktopNotifications& notifications,
                                   std::shared_ptr<TaskRunner> main) {
  if (ui == nullptr) return std::make_unique<TerminalAlerts>();
  return std::make_unique<DesktopAlerts>(ui->alerts(), notifications, std::move(main));
}

SettingsValues defaultsFor(const UserFolders& folders) {
  SettingsValues values;
  values.storageDirectory = folders.captures.string();
  return values;
}

std::optional<std::string> environmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

/// Starts this program with the same files.
std::vector<std::string> commandFor(const std::optional<Path>& root) {
  std::error_code failure;
  const Path program = std::filesystem::read_symlink("/proc/self/exe", failure);
  std::vector<std::string> command{failure ? "vantorel" : program.string()};
  if (root) command.insert(command.end(), {"--root", root->string()});
  return command;
}

/// The user's entry, and those of the same name for all users.
AutostartEntry autostartEntry(Files& files, const UserFolders& user,
                              const std::optional<Path>& root) {
  const Path entry = Path("autostart") / (CommandBus::nameFor(root, files) + ".desktop");
  std::vector<Path> shared;
  for (const Path& folder : user.sharedConfig) shared.push_back(folder / entry);
  return {files, user.config.parent_path() / entry, commandFor(root), std::move(shared)};
}

}  // namespace

DesktopWing::DesktopWing(Lanes& theLanes, const std::optional<Path>& theRoot,
                         std::shared_ptr<RemoteFiles> theFiles,
                         std::shared_ptr<TaskRunner> mainRunner, DesktopUi* desktopUi)
    : lanes(theLanes),
      root(theRoot),
      main(std::move(mainRunner)),
      ui(desktopUi),
      files(std::move(theFiles)),
      user(UserFolders::ofThisUser(*files)),
      folders(root ? UserFolders::below(*root) : user),
      autostart(autostartEntry(*files, user, root)),
      session(makeDesktopServices(
          environmentVariable, main,
          ui == nullptr ? WindowContents::onDemand : WindowContents::keptFromStart)),
      notifications(lanes.disks.queue("com.hollen.Vantorel.notifications")),
      alerts(makeAlerts(ui, notifications, main)),
      detachedClipboard(main, lanes.disks.queue("com.hollen.Vantorel.clipboard")),
      sounds(lanes.disks.queue("com.hollen.Vantorel.sounds")),
      settingsFile({.files = *files,
                    .main = main,
                    .io = lanes.prompt.queue("com.hollen.Vantorel.settings"),
                    .watcher = ui == nullptr ? nullptr : &watcher()},
                   settingsPath()),
      settings(settingsFile, defaultsFor(folders)) {
  if (ui != nullptr) ui->setClipboard(*session.clipboard);
  settings.switchOffStartAtLogin = [this] {
    if (const auto off = autostart.set(false); !off) {
      logWarning("Settings", "starting with the session: {}", off.error().reason);
    }
  };
  reportSettings();
}

void DesktopWing::reportSettings() {
  if (settingsFile.problem()) {
    logError("Settings", "{}", *settingsFile.problem());
    if (ui != nullptr) alerts->notify(settingsTitle, *settingsFile.problem());
  }
  for (const std::string& sentence : settings.refusedAtStart()) {
    logWarning("Settings", "{}", sentence);
  }
  settingsFile.onProblem([this](const std::string& sentence) {
    if (sentence.empty()) return alerts->withdraw(settingsTitle);
    alerts->notify(settingsTitle, sentence);
  });
}

Clipboard& DesktopWing::clipboard() {
  if (isResident) return *session.clipboard;
  return detachedClipboard;
}

void DesktopWing::cue(const CaptureCue& cue) {
  if (!cue.area.isEmpty()) ui->flash(cue.area);
  if (cue.withSound) sounds.play("screen-capture");
}

void DesktopWing::whenShown(const std::function<void()>& done) {
  if (!showsSomething) return done();
  lanes.disks.queue("com.hollen.Vantorel.notifications")->post([runner = main, done] {
    runner->postAfter(cueLength, done);
  });
}

FolderWatcher& DesktopWing::watcher() {
  if (!folderWatcher) {
    folderWatcher = std::make_unique<InotifyWatcher>(
        [kept = files](int queue, const Path& folder, std::uint32_t events) {
          return kept->watch(queue, folder, events);
        });
  }
  return *folderWatcher;
}

bool DesktopWing::relaunch() const {
  std::vector<std::string> command = commandFor(root);
  std::vector<char*> words;
  for (std::string& word : command) words.push_back(word.data());
  words.push_back(nullptr);
  ::execv("/proc/self/exe", words.data());
  return false;
}

}  // namespace vantorel
