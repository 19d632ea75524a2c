#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/lifetime.hpp"
#include "library/entry_files.hpp"
#include "library/history_deletion.hpp"
#include "library/history_reachability.hpp"
#include "library/history_store.hpp"
#include "platform/clock.hpp"
#include "platform/folder_watcher.hpp"
#include "platform/mount_watcher.hpp"

namespace vantorel {

/// Notices what happens to captures' files outside the program: gives entries the new paths of
/// files that were renamed or moved between the watched folders, takes entries out of the library
/// whose files were deleted or moved elsewhere, puts them back when such a file comes back, and
/// tells of files written anew. Lives on the main runner; folders are opened and looked at on
/// `work`, which a disk that does not answer may hold.
///
/// A folder that cannot be watched is tried again, less and less often, and at once when a disk
/// comes or goes.
class HistoryFolderMonitor {
 public:
  /// From the last thing that happened until files are looked for: programs that save a file may
  /// move it away first, and a folder that is being deleted loses its files one by one.
  static constexpr std::chrono::milliseconds pruneDebounce{1500};

  /// Folders where things never stop happening are looked at this often all the same.
  static constexpr std::chrono::seconds longestDebounce{10};

  /// Disks come with several mounts at a time.
  static constexpr std::chrono::milliseconds mountDebounce{500};

  /// So many entries whose files went are kept for when the files come back, until the program
  /// ends.
  static constexpr std::size_t departedLimit = 10'000;

  static constexpr std::chrono::seconds firstRetry{5};
  static constexpr std::chrono::seconds longestRetry{600};

  struct Services {
    HistoryStore& store;
    HistoryDeletion& deletion;
    HistoryReachability& reachability;
    const Files& files;
    FolderWatcher& watcher;
    MountWatcher& mounts;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
  };

  explicit HistoryFolderMonitor(Services services);

  /// The user turned to the program: folders that could not be watched are tried at once.
  void activated();

  /// Told when an entry's file was written anew by somebody.
  std::function<void(const std::string& path)> onFileChange;

 private:
  struct Folder {
    std::size_t entries = 0;  ///< how many files they have here, or had and may come back
    std::unique_ptr<FolderWatch> watch;
    std::optional<FolderIdentity> watched;  ///< what is watched under this name
    bool isOpening = false;
    std::uint64_t generation = 0;  ///< of the watch that is there or being opened
    int failures = 0;              ///< in a row
    std::chrono::nanoseconds retryAt{0};
  };

  /// What opening a folder came to.
  struct Opening {
    std::optional<FolderIdentity> identity;
    std::optional<Result<std::unique_ptr<FolderWatch>>> watch;  ///< none: it is the one watched
  };

  /// The file of an entry that departed is there again.
  struct Arrival {
    EntryPointer entry;
    std::string path;
    FileIdentity identity;
    bool hasOriginal = false;  ///< if the entry names one, it is still there
  };

  void follow(const HistoryChange& change);
  void add(const ScreenshotEntry& entry);
  void remove(const ScreenshotEntry& entry);
  void add(std::string_view path);
  void remove(std::string_view path);
  [[nodiscard]] bool isNamed(const std::string& path) const;
  void openWanted();
  void open(const std::string& name, Folder& folder);
  void opened(const std::string& name, std::uint64_t generation, Opening opening);
  void backOff(Folder& folder);
  void scheduleRetry();
  void happened(const std::string& name, const FolderEvent& event);
  void mountsChanged();
  void lookSoon(const std::string& name);
  void prune();
  [[nodiscard]] EntryList resting(const EntryList& entries) const;
  void forgetGone(const std::string& name, const EntryList& went,
                  const std::vector<std::string>& movingBefore);
  void forget(const std::string& name, const EntryList& gone);
  void keepDeparted(std::vector<PlacedEntry> departed);
  void hearMove(const std::string& path, const FolderEvent& event);
  void lookAtArrivals();
  [[nodiscard]] static std::vector<Arrival> findDeparted(const Files& files,
                                                         const std::set<std::string>& paths,
                                                         const EntryList& departed);
  void welcomeBack(const std::vector<Arrival>& arrivals);

  Services services_;
  OriginalFolders originalFolders_;
  std::map<std::string, Folder, std::less<>> wanted_;
  std::unordered_map<std::string, std::size_t> originals_;  // how many entries have one, by path
  bool mountsChanged_ = false;
  std::set<std::string> toLookAt_;
  std::chrono::nanoseconds toLookSince_{0};
  std::map<std::uint32_t, std::string> movedFrom_;  // the path an entry has, by the move's number
  HistoryReachability::Heard heard_;                // since the last look
  std::unordered_map<std::string, std::string> origins_;  // the old paths of its moves, by new ones
  std::set<std::string> arrivals_;                        // files of no entry, since the last look
  std::deque<PlacedEntry> departed_;                      // their files went; oldest first
  std::uint64_t generations_ = 0;
  std::unique_ptr<MountWatch> mountWatch_;
  Observation observation_;
  Lifetime pruneTimer_;
  Lifetime retryTimer_;
  Lifetime lifetime_;
};

}  // namespace vantorel
