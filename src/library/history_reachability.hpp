#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.hpp"
#include "library/file_look.hpp"
#include "library/file_reach.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// Knows which entries' files cannot be got at now, and which went while it was looking. Lives on
/// the main runner; looks at the disk on `work`.
///
/// What `reachOf` calls gone counts as gone here only when the file was there at an earlier look,
/// or was filed since, in the same folder on the same file system, or was heard to go: what was
/// deleted while nobody looked stays in the library until somebody asks for it to be pruned.
class HistoryReachability {
 public:
  HistoryReachability(HistoryStore& store, const Files& files, std::shared_ptr<TaskRunner> main,
                      std::shared_ptr<TaskRunner> work)
      : store_(store), files_(files), main_(std::move(main)), work_(std::move(work)) {}

  /// Entries whose files are out of reach now, as far as their folders have been looked at.
  [[nodiscard]] const std::set<std::string>& outOfReachIDs() const { return outOfReachIDs_; }

  /// What a look at one folder found.
  struct Seen {
    EntryList went;            ///< their files went
    bool isUnsettled = false;  ///< files have other names by now that could not be noted yet
  };
  using FolderSeen = std::function<void(const std::string& folder, const Seen& seen)>;

  /// What was heard of files since the last look.
  struct Heard {
    std::map<std::string, std::string> moves{};  ///< new paths by old ones
    std::set<std::string> gone{};                ///< paths that files went from
  };

  /// Looks for the files of all entries in these folders, gives entries the paths their files have
  /// by now, and remembers what the files are. `done` comes once for each folder; not for a folder
  /// that was asked for anew meanwhile.
  void look(const std::set<std::string>& folders, Heard heard, const FolderSeen& done);

  /// What is known of the folder no longer holds: files missing at the next look are out of reach.
  void distrust(std::string_view folder);

  /// No entry has its file there any more.
  void forget(std::string_view folder);

 private:
  struct Look {
    std::uint64_t ticket = 0;
    std::optional<FolderIdentity> identity{};  ///< nothing when the folder cannot be reached
    EntryList gone{};
    EntryList outOfReach{};
  };
  using Looks = std::map<std::string, Look, std::less<>>;  // by folder

  struct Folder {
    std::uint64_t ticket = 0;  ///< of the last look-up asked for
    std::optional<FolderIdentity> identity;
    std::set<std::string> outOfReach;
    std::set<std::string> heardGone;  ///< paths, since the last look that landed
  };

  void landed(Looks& looks, const FileLook& found, const FolderSeen& done);
  [[nodiscard]] EntryList adopt(const Look& look, Folder& folder);

  HistoryStore& store_;
  const Files& files_;
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> work_;
  std::map<std::string, Folder, std::less<>> folders_;
  std::set<std::string> outOfReachIDs_;
  std::uint64_t tickets_ = 0;
  Lifetime lifetime_;
};

}  // namespace vantorel
