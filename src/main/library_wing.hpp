#pragma once

#include <memory>

#include "app/library_move.hpp"
#include "app/retention_setting.hpp"
#include "library/entry_file_look.hpp"
#include "library/library.hpp"
#include "library/library_prune.hpp"
#include "library/library_repair.hpp"
#include "library/preview_cleanup.hpp"
#include "main/desktop_wing.hpp"
#include "platform/linux/linux_trash.hpp"

namespace vantorel {

/// The library of one run, and what happens to its files outside the program. Lives on the main
/// runner.
struct LibraryWing {
  explicit LibraryWing(DesktopWing& desktop);
  ~LibraryWing();

  /// In the tray: follows the settings and what happens to the captures' files, from when the
  /// library is ready. Captures go by age, and originals that nobody needs to the Trash, only then:
  /// a command does what it says and nothing else.
  void followOutside();

  /// The menu is about to show: what nobody told of is looked at.
  void activated();

  /// What was in the way of the entry's file when it was last looked for.
  [[nodiscard]] FileReach reachOf(const ScreenshotEntry& entry) const;

  /// Told when that has changed for some of them.
  [[nodiscard]] Observation observeReach(std::function<void()> observer) {
    return reachObservers_.add(std::move(observer));
  }

  /// Told when another program's index was found in the place of the one in use.
  [[nodiscard]] Observation observeForeignIndex(std::function<void(const ForeignIndex&)> observer) {
    return foreignObservers_.add(std::move(observer));
  }

  /// Where previews are made and removed.
  [[nodiscard]] std::shared_ptr<TaskRunner> previewQueue() const {
    return desktop.lanes.pool.queue("com.hollen.Vantorel.previews");
  }

  /// Waits for the looks under way. Before what they use goes.
  void stop();

  DesktopWing& desktop;
  LinuxTrash trash;
  Library library;
  LibraryRepair repair;
  LibraryPrune prune;
  EntryFileLook fileLook;
  LibraryMove move;
  RetentionSetting retention;
  PreviewCleanup previewCleanup;

 private:
  struct Following;
  Observers<> reachObservers_;
  Observers<ForeignIndex> foreignObservers_;
  std::unique_ptr<Following> following_;  // in the tray alone
};

}  // namespace vantorel
