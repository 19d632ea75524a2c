#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "library/entry_claim.hpp"
#include "library/history_deletion.hpp"
#include "library/history_disk.hpp"
#include "library/history_relocation.hpp"
#include "library/history_retention.hpp"
#include "library/history_store.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// The user's library: the one owner of its entries and of everything that changes them, and the
/// one gate before them. Lives on the main runner.
class Library {
 public:
  struct Services {
    Files& files;
    Trash& trash;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;

    // Serial queues that block.
    std::shared_ptr<TaskRunner> persist;    ///< for the index alone
    std::shared_ptr<TaskRunner> deletions;  ///< to the Trash and back
    std::shared_ptr<TaskRunner> moves;      ///< between folders, and long looks

    std::uint32_t userID = 0;  ///< the user this process runs as
  };

  Library(Services services, LibraryPaths paths);
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// Reads the library and makes up for what an earlier run did not end. Only the first call
  /// counts.
  void open();
  [[nodiscard]] bool isOpening() const { return isOpening_; }

  /// Calls `go` when the library is there: read, and moves, deletions and rewrites that an earlier
  /// run did not end are made up for. At once when it is; there is no other wait. A wait for a
  /// process that has the library ends after a minute: `HistoryStore::indexRefusal` tells then, and
  /// the library is opened when that process ends.
  void whenReady(std::move_only_function<void()> go);
  [[nodiscard]] bool isReady() const { return isReady_; }

  /// To be called before anything is done with the files of these entries: gives the entries the
  /// paths that their files have by now, as far as they were renamed among captures. Looks on
  /// `work`. `then` is told the ids whose paths are not to be trusted now (`AdoptedLook`). Whoever
  /// is going to change the files has claimed the entries before.
  using FilesFound = std::move_only_function<void(const std::set<std::string>& unsettled)>;
  enum class Claimed { byCaller, no };
  void findFiles(const std::vector<std::string>& ids, Claimed claimed, TaskRunner& work,
                 FilesFound then);

  /// The same for one who is going to look at what there is now: what another process has is read
  /// anew, within a second or so.
  void whenUpToDate(std::move_only_function<void()> go);

  /// Calls `go` when the library is ready, or when another process turns out to have it.
  void whenReadyOrHeld(std::move_only_function<void()> go);

  /// Who has the library while it is waited for, "process 1234 (vantorel)".
  [[nodiscard]] const std::optional<std::string>& awaitedHolder() const {
    return store_.awaitedHolder();
  }

  /// Ends the wait for another process, as if the minute were over.
  void stopWaiting() { store_.stopWaiting(); }

  /// Told when the library has come after everybody had given it up.
  std::function<void()> onLateOpening;

  /// Takes an entry, or answers who has it.
  [[nodiscard]] std::expected<EntryClaim, EntryBusy> claim(const std::string& id, EntryWork work) {
    return store_.claims().claim(id, work);
  }

  [[nodiscard]] HistoryStore& store() { return store_; }
  [[nodiscard]] HistoryDeletion& deletion() { return deletion_; }
  [[nodiscard]] HistoryRelocation& relocation() { return relocation_; }
  [[nodiscard]] HistoryRetention& retention() { return retention_; }
  [[nodiscard]] HistoryDisk& disk() { return disk_; }
  [[nodiscard]] const LibraryPaths& paths() const { return store_.paths(); }
  [[nodiscard]] const Clock& clock() const { return services_.clock; }

 private:
  void load();
  void recoverRewrites();
  void becomeReady();

  Services services_;
  HistoryStore store_;
  HistoryDeletion deletion_;
  HistoryRelocation relocation_;
  HistoryRetention retention_;
  HistoryDisk disk_;
  bool isOpening_ = false;
  bool isReady_ = false;
  std::vector<std::move_only_function<void()>> waiting_;
  std::vector<std::move_only_function<void()>> waitingTillHeld_;
  std::vector<std::move_only_function<void()>> waitingForLook_;
  Lifetime lifetime_;
};

}  // namespace vantorel
