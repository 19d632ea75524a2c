#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
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

  /// What is in the way of the entry's file now, as far as its folder has been looked at.
  [[nodiscard]] FileReach reachOf(const ScreenshotEntry& entry) const;

  /// Told when files went out of reach or came back, once for each look that found so.
  [[nodiscard]] Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

  /// What a look at one folder found.
  struct Seen {
    EntryList went;            ///< their files went
    bool isUnsettled = false;  ///< files have other names by now that could not be noted yet
  };
  using FolderSeen = std::function<void(const std::string& folder, const Seen& seen)>;

  using HeardPaths = std::unordered_set<std::string>;

  /// What was heard of files since the last look.
  struct Heard {
    std::map<std::string, std::string> moves{};  ///< new paths by old ones

    /// Paths that files went from, by their folders.
    std::unordered_map<std::string, HeardPaths> gone{};
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
  using Obstacles = std::unordered_map<std::string, FileReach>;  // by id

  /// A folder, as it was when the last look landed and as it was heard of since.
  struct Folder {
    std::uint64_t ticket = 0;                  ///< of the last look asked for
    std::optional<FolderIdentity> identity{};  ///< nothing when the folder cannot be reached
    std::shared_ptr<const Obstacles> outOfReach{};
    std::vector<std::shared_ptr<const HeardPaths>> heardGone{};
  };

  /// What a look found there.
  struct Look {
    Folder before;
    std::optional<FolderIdentity> identity{};
    std::shared_ptr<Obstacles> outOfReach = std::make_shared<Obstacles>();
    bool isOther = false;             ///< than what was out of reach before
    std::vector<std::size_t> went{};  ///< places in `FileLook::gone`
  };
  using Looks = std::map<std::string, Look, std::less<>>;  // by folder

  static void sort(Looks& looks, const FileLook& found);
  void landed(Looks& looks, const FileLook& found, const FolderSeen& done);

  HistoryStore& store_;
  const Files& files_;
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> work_;
  std::map<std::string, Folder, std::less<>> folders_;
  std::uint64_t tickets_ = 0;
  Observers<> observers_;
  Lifetime lifetime_;
};

}  // namespace vantorel
