#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "platform/alerts.hpp"
#include "platform/defaults_store.hpp"
#include "platform/files.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Why captures cannot be kept in a folder.
struct FolderRefusal {
  enum class Case {
    notUTF8,   ///< its name
    unusable,  ///< `reason` says why
  };
  Case what = Case::unusable;
  std::string reason{};
};

[[nodiscard]] std::string sentence(const FolderRefusal& refusal);

/// Moves the library when the user picks another folder for it: new captures go there at once, and
/// those that are in the previous folder follow. Lives on the main runner.
class LibraryMove {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< may block
    std::shared_ptr<Files> files;
    Library* library = nullptr;
    SettingsStore* settings = nullptr;
    const DefaultsStore* defaults = nullptr;  ///< what `settings` stands on
    Alerts* alerts = nullptr;
    Path usualFolder;  ///< takes captures when the chosen folder cannot
  };

  explicit LibraryMove(Services services) : services_(std::move(services)) {}

  /// From now on captures follow when the storage folder is changed in the settings, and the user
  /// is told what did not move. A setting that falls back to its default moves nothing.
  void followSetting();

  using Checked = std::move_only_function<void(Result<void, FolderRefusal>)>;

  /// Tries whether captures can be kept in `folder` (absolute); makes it when only the last part of
  /// its name is missing.
  void checkFolder(const Path& folder, Checked done);

  /// What the move came to, or why nothing was begun.
  using Done = std::move_only_function<void(Result<RelocationOutcome, FolderRefusal>)>;

  /// Makes `folder` (absolute) the storage folder and moves the captures there. A folder that
  /// cannot be written changes nothing. With the folder that is set already, what did not move
  /// before is tried again. `flag` ends this move alone. After `whenReady`.
  void moveTo(const Path& folder, HistoryRelocation::Progress progress,
              std::shared_ptr<RelocationStopFlag> flag, Done done);

  /// Ends all moves after the batch that is under way.
  void stop() { services_.library->relocation().stop(); }

 private:
  void settingChanged();
  void follow(const Path& previous, const Path& chosen);
  void report(const RelocationOutcome& outcome);

  Services services_;
  std::string storageFolder_;  // the one last seen in the settings
  Observation observation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
