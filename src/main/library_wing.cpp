#include "main/library_wing.hpp"

#include <unistd.h>

#include <vector>

#include "base/log.hpp"
#include "capture/redacted_originals.hpp"
#include "capture/staging_folder.hpp"
#include "editor/entry_document.hpp"
#include "library/changed_pictures.hpp"
#include "library/entry_failure.hpp"
#include "library/history_folder_monitor.hpp"
#include "library/parked_index.hpp"
#include "library/whole_picture.hpp"
#include "platform/linux/mount_table_watcher.hpp"

namespace vantorel {

/// On threads of its own: a disk that does not answer holds nobody else.
struct LibraryWing::Following {
  explicit Following(LibraryWing& wing)
      : reachability(wing.library.store(), *wing.desktop.files, wing.desktop.main, folders()),
        monitor({.store = wing.library.store(),
                 .deletion = wing.library.deletion(),
                 .reachability = reachability,
                 .files = *wing.desktop.files,
                 .watcher = wing.desktop.watcher(),
                 .mounts = mounts,
                 .clock = *wing.desktop.clock,
                 .main = wing.desktop.main,
                 .work = folders()}),
        pictures({.store = wing.library.store(),
                  .files = *wing.desktop.files,
                  .codec = wing.desktop.codec,
                  .main = wing.desktop.main,
                  .work = folders(),
                  .pictureHasSize = followPictureSize}),
        reach(reachability.observe([&wing] { wing.reachObservers_.notify(); })) {
    monitor.onFileChange = [this, &disk = wing.library.disk()](const std::string& path) {
      disk.fileChanged(path);
      pictures.fileChanged(path);
    };
  }

  [[nodiscard]] std::shared_ptr<TaskRunner> folders() {
    return queues.queue("com.hollen.Vantorel.folders");
  }

  SerialQueues queues;
  MountTableWatcher mounts;
  HistoryReachability reachability;
  HistoryFolderMonitor monitor;
  ChangedPictures pictures;
  Observation reach;
};

LibraryWing::LibraryWing(DesktopWing& around)
    : desktop(around),
      trash(*desktop.files, *desktop.clock, desktop.user.data.parent_path(), ::geteuid()),
      library({.files = *desktop.files,
               .trash = trash,
               .clock = *desktop.clock,
               .main = desktop.main,
               .persist = desktop.lanes.prompt.queue("vantorel.history.persist"),
               .deletions = desktop.lanes.disks.queue("com.hollen.Vantorel.trash"),
               .moves = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
               .userID = ::geteuid()},
              LibraryPaths{desktop.folders.data, desktop.folders.cache}),
      repair(
          {.main = desktop.main,
           .work = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
           .files = desktop.files,
           .codec = desktop.codec,
           .clock = desktop.clock,
           .trash = &trash,
           .library = &library,
           .captureFolders =
               [this] {
                 return std::vector<Path>{desktop.folders.captures,
                                          desktop.settings.values().storageDirectory};
               },
           .filesOfStaged =
               [staging = StagingFolder(desktop.files, library.paths().stagedCaptures()),
                originals = RedactedOriginals(desktop.files, library.paths().redactedOriginals())] {
                 return staging.filesElsewhere(originals);
               },
           .isWholePicture = isWholePicture}),
      prune({.main = desktop.main,
             .work = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
             .files = desktop.files,
             .library = &library}),
      fileLook({.main = desktop.main,
                .work = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
                .files = desktop.files,
                .library = &library}),
      move({.main = desktop.main,
            .work = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
            .files = desktop.files,
            .library = &library,
            .settings = &desktop.settings,
            .defaults = &desktop.settingsFile,
            .alerts = desktop.alerts.get(),
            .usualFolder = desktop.folders.captures}),
      retention(RetentionSetting::Services{library.retention(), desktop.settings, *desktop.alerts}),
      previewCleanup(library.store(), previewQueue(), desktop.files, library.paths().previews()) {
  library.store().onForeignIndex = [this](const ForeignIndex& foreign) {
    desktop.alerts->notify("History", foreign.sentence());
    foreignObservers_.notify(foreign);
  };
  library.store().onDamagedIndex = [this](const IndexDamage& damage) {
    desktop.alerts->notify("History", damage.sentence());
  };
}

LibraryWing::~LibraryWing() = default;

void LibraryWing::followOutside() {
  move.followSetting();
  library.whenReady([this] {
    retention.follow();
    following_ = std::make_unique<Following>(*this);
    if (const auto refusal = library.store().indexRefusal()) {
      logError("History", "{}", *refusal);
      // Who has the library is told with what was asked for; it comes back by itself.
      if (library.store().loadOutcome() != IndexLoad::inUse) {
        const std::string& hindrance = library.store().indexHindrance();
        desktop.alerts->notify(
            "History", sentence(EntryFailure{EntryFailure::Case::libraryClosed, *refusal}) +
                           (hindrance.empty() ? "" : " " + hindrance) +
                           " New captures are saved all the same, but not yet listed in History.");
      }
      return;
    }
    repair.clearOriginals();
    previewCleanup.removeAllOutdated();
    desktop.lanes.disks.queue("com.hollen.Vantorel.library")
        ->post([files = desktop.files, paths = library.paths(), clock = desktop.clock] {
          tidyParkedIndexes(*files, paths, clock->now());
        });
  });
}

void LibraryWing::activated() {
  if (following_) following_->monitor.activated();
}

FileReach LibraryWing::reachOf(const ScreenshotEntry& entry) const {
  return following_ ? following_->reachability.reachOf(entry) : FileReach::there;
}

void LibraryWing::stop() {
  if (following_) following_->queues.stop();
}

}  // namespace vantorel
