#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/alive.hpp"
#include "library/file_reach.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// The folder of a path that an entry has.
[[nodiscard]] std::string_view folderOf(std::string_view path);

/// Knows which entries' files cannot be got at now, and which went while it was looking. Lives on
/// the main runner; looks at the disk on `work`.
///
/// A file counts as gone only when it was there at an earlier look, or was filed since, and its
/// folder is still the one it was in: the same folder on the same file system. What is missing from
/// a folder that has just come into view, such as an empty mount point or another disk under the
/// same name, is out of reach and may come back.
class HistoryReachability {
 public:
  HistoryReachability(HistoryStore& store, const Files& files, std::shared_ptr<TaskRunner> main,
                      std::shared_ptr<TaskRunner> work)
      : store_(store), files_(files), main_(std::move(main)), work_(std::move(work)) {}

  /// Entries whose files are out of reach now, as far as their folders have been looked at.
  [[nodiscard]] const std::set<std::string>& outOfReachIDs() const { return outOfReachIDs_; }

  /// Looks for the files of all entries in these folders. `done` comes once for each folder, with
  /// the entries whose files went; not for a folder that was asked for anew meanwhile.
  void look(const std::set<std::string>& folders,
            const std::function<void(const std::string& folder, const EntryList& went)>& done);

  /// What is known of the folder no longer holds: files missing at the next look are out of reach.
  void distrust(std::string_view folder);

  /// No entry has its file there any more.
  void forget(std::string_view folder);

 private:
  struct Look {
    std::string folder;
    std::uint64_t ticket = 0;
    std::optional<FolderIdentity> identity;  ///< nothing when the folder cannot be reached
    EntryList gone;
    EntryList outOfReach;
  };

  struct Folder {
    std::uint64_t ticket = 0;  ///< of the last look-up asked for
    std::optional<FolderIdentity> identity;
    std::set<std::string> outOfReach;
  };

  static void lookAt(const Files& files, Look& look, const EntryList& entries);
  [[nodiscard]] EntryList adopt(const Look& look, Folder& folder);

  HistoryStore& store_;
  const Files& files_;
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> work_;
  std::map<std::string, Folder, std::less<>> folders_;
  std::set<std::string> outOfReachIDs_;
  std::uint64_t tickets_ = 0;
  Alive alive_;
};

}  // namespace vantorel
