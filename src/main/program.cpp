#include "main/program.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include "app/capture_export.hpp"
#include "app/library_move.hpp"
#include "app/retention_setting.hpp"
#include "base/log.hpp"
#include "editor/entry_document.hpp"
#include "library/changed_pictures.hpp"
#include "library/history_folder_monitor.hpp"
#include "library/library.hpp"
#include "library/parked_index.hpp"
#include "library/whole_picture.hpp"
#include "main/detached_clipboard.hpp"
#include "main/scene_module.hpp"
#include "main/terminal_surfaces.hpp"
#include "main/tray_lock.hpp"
#include "platform/linux/autostart_entry.hpp"
#include "platform/linux/command_bus.hpp"
#include "platform/linux/desktop_notifications.hpp"
#include "platform/linux/desktop_session.hpp"
#include "platform/linux/desktop_sounds.hpp"
#include "platform/linux/inotify_watcher.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/linux/linux_trash.hpp"
#include "platform/linux/mount_table_watcher.hpp"
#include "platform/linux/serial_queues.hpp"
#include "settings/settings_file.hpp"

namespace vantorel {
namespace {

/// Dialogs by the toolkit, passing messages by the desktop.
class DesktopAlerts final : public Alerts {
 public:
  DesktopAlerts(Alerts& dialogs, DesktopNotifications& notifications)
      : dialogs_(dialogs), notifications_(notifications) {}

  AlertID ask(Alert alert, std::function<void(std::size_t)> answered) override {
    return dialogs_.ask(std::move(alert), std::move(answered));
  }
  void dismiss(AlertID question) override { dialogs_.dismiss(question); }
  void bringForward() override { dialogs_.bringForward(); }
  [[nodiscard]] bool isModalDialogUp() const override { return dialogs_.isModalDialogUp(); }
  void notify(std::string title, std::string body) override {
    notifications_.notify(std::move(title), std::move(body));
  }
  void withdraw(std::string title) override { notifications_.withdraw(std::move(title)); }

 private:
  Alerts& dialogs_;
  DesktopNotifications& notifications_;
};

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

/// Follows what happens to captures' files outside the program. On threads of its own: a disk that
/// does not answer holds nobody else.
struct FolderFollowing {
  FolderFollowing(HistoryStore& store, HistoryDeletion& deletion, const Files& files,
                  std::shared_ptr<const ImageCodec> codec, FolderWatcher& watcher,
                  const Clock& clock, const std::shared_ptr<TaskRunner>& main)
      : reachability(store, files, main, queues.queue("com.hollen.Vantorel.folders")),
        monitor({.store = store,
                 .deletion = deletion,
                 .reachability = reachability,
                 .files = files,
                 .watcher = watcher,
                 .mounts = mounts,
                 .clock = clock,
                 .main = main,
                 .work = queues.queue("com.hollen.Vantorel.folders")}),
        pictures({.store = store,
                  .files = files,
                  .codec = std::move(codec),
                  .main = main,
                  .work = queues.queue("com.hollen.Vantorel.folders"),
                  .pictureHasSize = followPictureSize}) {}

  SerialQueues queues;
  MountTableWatcher mounts;
  HistoryReachability reachability;
  HistoryFolderMonitor monitor;
  ChangedPictures pictures;
};

constexpr const char* settingsFileName = "settings.json";
constexpr const char* settingsTitle = "Settings";

/// In bytes; a photo has a tenth of it.
constexpr std::uint64_t largestCoverImage = 100'000'000;

/// As long as a person needs to notice a flash and hear a sound.
constexpr std::chrono::milliseconds cueLength{700};

Path autostartFile(const Files& files, const std::optional<Path>& root) {
  return UserFolders::ofThisUser(files).config.parent_path() / "autostart" /
         (CommandBus::nameFor(root, files) + ".desktop");
}

/// Starts this program with the same files.
std::vector<std::string> commandFor(const std::optional<Path>& root) {
  std::error_code failure;
  const Path program = std::filesystem::read_symlink("/proc/self/exe", failure);
  std::vector<std::string> command{failure ? "vantorel" : program.string()};
  if (root) command.insert(command.end(), {"--root", root->string()});
  return command;
}

/// The entries of the same name for all users.
std::vector<Path> sharedAutostartFiles(const Files& files, const std::optional<Path>& root) {
  std::vector<Path> shared;
  for (const Path& folder : UserFolders::ofThisUser(files).sharedConfig) {
    shared.push_back(folder / "autostart" / autostartFile(files, root).filename());
  }
  return shared;
}

/// Starts the program anew in place of this process. Comes back only when that fails.
bool relaunch(const std::optional<Path>& root) {
  std::vector<std::string> command = commandFor(root);
  std::vector<char*> words;
  for (std::string& word : command) words.push_back(word.data());
  words.push_back(nullptr);
  ::execv("/proc/self/exe", words.data());
  return false;
}

}  // namespace

struct Program::Parts {
  Parts(const UserFolders& folders, const std::optional<Path>& root,
        std::shared_ptr<RemoteFiles> theFiles, std::shared_ptr<TaskRunner> mainRunner,
        DesktopUi* desktopUi, std::function<void()> terminate)
      : main(std::move(mainRunner)),
        ui(desktopUi),
        files(std::move(theFiles)),
        clock(std::make_shared<LinuxClock>()),
        codec(std::make_shared<LinuxImageCodec>()),
        detachedClipboard(main, disks.queue("com.hollen.Vantorel.clipboard")),
        sounds(disks.queue("com.hollen.Vantorel.sounds")),
        autostart(*files, autostartFile(*files, root), commandFor(root),
                  sharedAutostartFiles(*files, root)),
        desktop(makeDesktopServices(
            environmentVariable, main,
            ui == nullptr ? WindowContents::onDemand : WindowContents::keptFromStart)),
        notifications(disks.queue("com.hollen.Vantorel.notifications")),
        trash(*files, *clock, UserFolders::ofThisUser(*files).data.parent_path(), ::geteuid()),
        settingsFile({.files = *files,
                      .main = main,
                      .io = prompt.queue("com.hollen.Vantorel.settings"),
                      .watcher = ui == nullptr ? nullptr : &watcher()},
                     folders.config / settingsFileName),
        settings(settingsFile, defaultsFor(folders)),
        library({.files = *files,
                 .trash = trash,
                 .clock = *clock,
                 .main = main,
                 .persist = prompt.queue("vantorel.history.persist"),
                 .deletions = disks.queue("com.hollen.Vantorel.trash"),
                 .moves = disks.queue("com.hollen.Vantorel.library"),
                 .userID = ::geteuid()},
                LibraryPaths{folders.data, folders.cache}) {
    if (ui == nullptr) {
      alerts = std::make_unique<TerminalAlerts>();
    } else {
      alerts = std::make_unique<DesktopAlerts>(ui->alerts(), notifications);
    }
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
    library.store().onForeignIndex = [this](const ForeignIndex& foreign) {
      alerts->notify("History", foreign.sentence());
    };
    coordinator = std::make_unique<AppCoordinator>(services(folders, root, std::move(terminate)));
    rewriter = std::make_unique<CaptureRewriter>(
        CaptureRewriter::Services{.main = main,
                                  .work = pool.queue("com.hollen.Vantorel.rewrite"),
                                  .files = files,
                                  .codec = codec,
                                  .library = &library,
                                  .settings = &settings,
                                  .pendingWork = &coordinator->pendingArchiveWork(),
                                  .surfaces = &coordinator->surfaces()});
    annotator = std::make_unique<CaptureAnnotator>(
        CaptureAnnotator::Services{.main = main,
                                   .work = pool.queue("com.hollen.Vantorel.annotations"),
                                   .clock = clock,
                                   .files = files,
                                   .codec = codec,
                                   .library = &library,
                                   .settings = &settings,
                                   .pendingWork = &coordinator->pendingArchiveWork(),
                                   .surfaces = &coordinator->surfaces(),
                                   .draw = sceneDrawing(files, codec),
                                   .settingsFile = folders.config / settingsFileName});
    libraryMove = std::make_unique<LibraryMove>(
        LibraryMove::Services{.main = main,
                              .work = disks.queue("com.hollen.Vantorel.library"),
                              .files = files,
                              .library = &library,
                              .settings = &settings,
                              .defaults = &settingsFile,
                              .alerts = alerts.get(),
                              .usualFolder = folders.captures});
    retentionSetting = std::make_unique<RetentionSetting>(
        RetentionSetting::Services{library.retention(), settings, *alerts});
    libraryVerify = std::make_unique<LibraryVerify>(LibraryVerify::Services{
        .main = main,
        .work = disks.queue("com.hollen.Vantorel.library"),
        .files = files,
        .codec = codec,
        .clock = clock,
        .trash = &trash,
        .library = &library,
        .captureFolders =
            [this, usual = folders.captures] {
              return std::vector<Path>{usual, settings.values().storageDirectory};
            },
        .recoverStaged =
            [this](std::function<void()> done) {
              coordinator->recoverStagedCaptures([done = std::move(done)](int) { done(); });
            },
        .whenStagingKnown =
            [this](std::function<void(const std::set<Path>&)> known) {
              coordinator->whenStagingKnown(std::move(known));
            },
        .filedPaths =
            [staging = StagingFolder(files, library.paths().stagedCaptures())] {
              return staging.filedPaths();
            },
        .isWholePicture = isWholePicture});
    libraryCommands = std::make_unique<LibraryCommands>(
        LibraryCommands::Services{.main = main,
                                  .work = disks.queue("com.hollen.Vantorel.library"),
                                  .files = files,
                                  .clock = clock,
                                  .library = &library,
                                  .verify = libraryVerify.get(),
                                  .move = libraryMove.get()});
    exporting = std::make_unique<CaptureExport>(
        CaptureExport::Services{.main = main,
                                .work = disks.queue("com.hollen.Vantorel.exports"),
                                .files = files,
                                .codec = codec,
                                .store = &library.store(),
                                .settings = &settings,
                                .settingsFile = folders.config / settingsFileName});
    settings.switchOffStartAtLogin = [this] {
      if (const auto off = autostart.set(false); !off) {
        logWarning("Settings", "starting with the session: {}", off.error().reason);
      }
    };
    commands = std::make_unique<CommandRunner>(CommandRunner::Services{
        .main = main,
        .coordinator = coordinator.get(),
        .rewriter = rewriter.get(),
        .annotator = annotator.get(),
        .settings = &settings,
        .library = &library,
        .libraryCommands = libraryCommands.get(),
        .move = libraryMove.get(),
        .retention = retentionSetting.get(),
        .exporting = exporting.get(),
        .autostart = &autostart,
        .screen = desktop.screen.get(),
        .windows = desktop.windows.get(),
        .checkFile = [this](const Path& path, auto done) { checkFile(path, std::move(done)); },
        .fileStaged = [this](std::function<void()> filed) { fileStaged(std::move(filed)); },
        .unreachableTray =
            [this] { return isResident ? std::nullopt : trayProcess(*files, library.paths()); }});
  }

  // Tasks use what is below the queues.
  ~Parts() {
    if (following) following->queues.stop();
    for (SerialQueues* const queues : {&pool, &disks, &prompt}) queues->stop();
  }

  AppCoordinator::Services services(const UserFolders& folders, const std::optional<Path>& root,
                                    std::function<void()> terminate) {
    AppCoordinator::Services all;
    all.main = main;
    all.staging = prompt.queue("com.hollen.Vantorel.captures");
    all.filing = disks.queue("com.hollen.Vantorel.filing");
    all.pictures = pool.queue("com.hollen.Vantorel.pictures");
    all.clock = clock;
    all.files = files;
    all.codec = codec;
    all.screen = desktop.screen.get();
    all.windows = desktop.windows.get();
    all.alerts = alerts.get();
    all.library = &library;
    all.settings = &settings;
    all.stagedCaptures = library.paths().stagedCaptures();
    all.redactedOriginals = library.paths().redactedOriginals();
    all.defaultCaptures = folders.captures;
    all.hotKeys = desktop.hotKeys.get();
    all.stopMoving = [this] { libraryMove->stop(); };
    all.whenMovingStopped = [this](std::move_only_function<void()> go) {
      library.relocation().settle(std::move(go));
    };
    all.relaunch = [root] { return relaunch(root); };
    all.terminate = std::move(terminate);
    all.clipboard = [this]() -> Clipboard* {
      return isResident ? desktop.clipboard.get() : &detachedClipboard;
    };
    if (ui == nullptr) {
      all.countdown = std::make_shared<TerminalCountdown>();
      all.overlay = [] { return nullptr; };
    } else {
      ui->setClipboard(*desktop.clipboard);
      all.isTrayShown = [this] { return ui->statusItem().isHosted(); };
      all.cue = [this](const CaptureCue& cue) {
        if (!cue.area.isEmpty()) ui->flash(cue.area);
        if (cue.withSound) sounds.play("screen-capture");
      };
      all.countdown = ui->countdownPanel();
      all.desktopCover = ui->desktopCoverWindows();
      all.overlay = [this] { return &ui->selectionOverlay(); };
      all.showStatusItem = [this](bool visible) { ui->statusItem().setVisible(visible); };
      all.statusMenuChanged = [this] { ui->statusItem().menuChanged(); };
      library.deletion().onPendingUndoChange = all.statusMenuChanged;
    }
    return all;
  }

  void open() {
    library.onLateOpening = [this] { coordinator->recoverStagedCaptures([](int) {}); };
    library.open();
  }

  void checkFile(const Path& path, CommandRunner::Services::Checked done) {
    disks.queue("com.hollen.Vantorel.library")
        ->post([kept = files, path, runner = main, done = std::move(done)]() mutable {
          std::expected<void, std::string> usable;
          if (const auto opened = kept->open(path); !opened) {
            usable = std::unexpected(
                fmt::format("{} can't be opened: {}.", path.string(), opened.error().reason));
          }
          runner->post([usable = std::move(usable), done = std::move(done)] { done(usable); });
        });
  }

  /// What earlier runs staged is filed once; what this one stages, it files itself.
  void fileStaged(std::function<void()> filed) {
    if (hasFiledStaged) return filed();
    library.whenReady([this, filed = std::move(filed)] {
      if (library.store().loadOutcome() == IndexLoad::inUse) return filed();
      coordinator->recoverStagedCaptures([this, filed](int) {
        hasFiledStaged = true;
        filed();
      });
    });
  }

  /// What was shown at the desktop shall be seen and heard before the process ends.
  void whenShown(const std::function<void()>& done) {
    if (!showsSomething) return done();
    disks.queue("com.hollen.Vantorel.notifications")->post([runner = main, done] {
      runner->postAfter(cueLength, done);
    });
  }

  FolderWatcher& watcher() {
    if (!folderWatcher)
      folderWatcher = std::make_unique<InotifyWatcher>(
          [kept = files](int queue, const Path& folder, std::uint32_t events) {
            return kept->watch(queue, folder, events);
          });
    return *folderWatcher;
  }

  void showCoverLook() {
    const SettingsValues& values = settings.values();
    DesktopCoverLook look{
        .style = values.desktopCoverStyle, .image = {}, .color = values.desktopCoverColor};
    ui->setDesktopCoverLook(look);
    coverLook.renew();
    if (look.style != DesktopCoverStyle::custom || !values.desktopCoverImagePath) return;
    disks.queue("com.hollen.Vantorel.cover")
        ->post([kept = files, path = *values.desktopCoverImagePath, runner = main,
                show = coverLook.guard([this, look](Result<std::string>& image) mutable {
                  if (!image) {
                    logWarning("DesktopCover", "the image cannot be read: {}",
                               image.error().reason);
                    return;
                  }
                  look.image = *std::move(image);
                  ui->setDesktopCoverLook(std::move(look));
                })]() mutable {
          runner->post([image = kept->read(path, largestCoverImage),
                        show = std::move(show)]() mutable { show(image); });
        });
  }

  // Captures go by age only while the program lives in the tray: a command does what it says and
  // nothing else.
  void followSettings() {
    showCoverLook();
    libraryMove->followSetting();
    library.whenReady([this] {
      retentionSetting->follow();
      following = std::make_unique<FolderFollowing>(library.store(), library.deletion(), *files,
                                                    codec, watcher(), *clock, main);
      following->monitor.onFileChange = [this](const std::string& path) {
        library.disk().fileChanged(path);
        following->pictures.fileChanged(path);
      };
      if (const auto refusal = library.store().indexRefusal()) {
        logError("History", "{}", *refusal);
        return;
      }
      libraryVerify->clearOriginals();
      disks.queue("com.hollen.Vantorel.library")
          ->post([kept = files, paths = library.paths(), time = clock] {
            tidyParkedIndexes(*kept, paths, time->now());
          });
    });
    settingsObservation = settings.observe([this](std::string_view key) {
      if (key.starts_with("desktopCover")) showCoverLook();
    });
  }

  // In the order they need each other; they go in the opposite one.
  std::shared_ptr<TaskRunner> main;
  DesktopUi* ui;
  SerialQueues prompt{2};  // captures, index and settings, and nothing slow
  SerialQueues disks{6};   // where a disk or a service may hang; about a thread a queue
  SerialQueues pool{3};    // for work of the processor
  std::shared_ptr<RemoteFiles> files;
  std::shared_ptr<LinuxClock> clock;
  std::shared_ptr<LinuxImageCodec> codec;
  DetachedClipboard detachedClipboard;
  DesktopSounds sounds;
  AutostartEntry autostart;
  std::unique_ptr<InotifyWatcher> folderWatcher;
  DesktopServices desktop;
  DesktopNotifications notifications;
  std::unique_ptr<Alerts> alerts;
  LinuxTrash trash;
  SettingsFile settingsFile;
  SettingsStore settings;
  Library library;
  bool isResident = false;        // lives in the tray
  bool showsSomething = false;    // at the desktop, on behalf of a command
  bool hasFiledStaged = false;    // at the start
  bool filesStagedAtEnd = false;  // a run that was only asked to look leaves that to the next one
  Observation settingsObservation;
  Alive coverLook;
  std::unique_ptr<AppCoordinator> coordinator;
  std::unique_ptr<FolderFollowing> following;  // in the tray alone
  std::unique_ptr<CaptureRewriter> rewriter;
  std::unique_ptr<CaptureAnnotator> annotator;
  std::unique_ptr<LibraryMove> libraryMove;
  std::unique_ptr<RetentionSetting> retentionSetting;
  std::unique_ptr<LibraryVerify> libraryVerify;
  std::unique_ptr<LibraryCommands> libraryCommands;
  std::unique_ptr<CaptureExport> exporting;
  std::unique_ptr<CommandRunner> commands;
};

Program::Program(const std::optional<Path>& root, std::shared_ptr<RemoteFiles> files,
                 std::shared_ptr<TaskRunner> main, DesktopUi* ui, std::function<void()> terminate)
    : parts_(std::make_unique<Parts>(
          root ? UserFolders::below(*root) : UserFolders::ofThisUser(*files), root,
          std::move(files), std::move(main), ui, std::move(terminate))) {}

Program::~Program() = default;

void Program::startResident() {
  Parts& parts = *parts_;
  parts.isResident = true;
  parts.open();
  parts.ui->statusItem().setMenu(
      [&parts] {
        if (parts.following) parts.following->monitor.activated();
        return parts.coordinator->statusMenu();
      },
      [&parts] { parts.coordinator->captureForUser({}); });
  parts.followSettings();
  parts.coordinator->startResident();
  parts.fileStaged([] {});
}

void Program::captureForUser(const StillCaptureCommand& what) {
  parts_->coordinator->captureForUser(what);
}

void Program::tellThatItOpensNothing() {
  parts_->alerts->notify("Vantorel can't open files", "Open pictures with another program.");
}

void Program::tellThatItRuns() { parts_->coordinator->tellThatItRuns(); }

void Program::run(const CommandLine& line, CommandRunner::Done done, const CommandAsker& asker) {
  if (line.needsLibrary()) {
    parts_->open();
    if (!line.onlyVerifies()) parts_->filesStagedAtEnd = true;
  }
  if (const auto* const capture = std::get_if<command::Capture>(&line.command)) {
    parts_->showsSomething |= capture->what.isAnsweredAtDesktop;
  }
  parts_->commands->run(line, std::move(done), asker);
}

void Program::callOff(const std::string& asker) { parts_->commands->callOff(asker); }

void Program::recover(std::function<void()> done) {
  Parts& parts = *parts_;
  parts.library.whenReady([&parts, done = std::move(done)] {
    if (parts.library.store().loadOutcome() == IndexLoad::inUse) return done();
    parts.coordinator->recoverStagedCaptures([done](int) { done(); });
  });
}

void Program::finish(std::function<void()> done) {
  std::function<void()> end = [this, done = std::move(done)] {
    parts_->settings.flush([this, done](Result<void> stored) {
      if (!stored) {
        logError("Settings", "the settings could not be saved: {}", stored.error().reason);
      }
      parts_->library.deletion().settle([this, done] { parts_->whenShown(done); });
    });
  };
  Library& library = parts_->library;
  if (!library.isOpening()) return end();
  // Nothing is begun in a library that another process has: what is staged is left to the next run.
  library.whenReadyOrHeld([this, &library, end = std::move(end)]() mutable {
    if (!library.isReady() || !parts_->filesStagedAtEnd) return end();
    recover(std::move(end));
  });
}

void Program::handOverClipboard() { parts_->desktop.clipboard->handOver(); }

void Program::releaseLibrary() {
  const auto released = std::make_shared<std::promise<void>>();
  parts_->library.store().release([released] { released->set_value(); });
  (void)released->get_future().wait_for(std::chrono::seconds(1));
}

void Program::quit() { parts_->coordinator->quit(); }

}  // namespace vantorel
