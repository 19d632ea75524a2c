#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/library_move.hpp"
#include "base/alive.hpp"
#include "base/task_runner.hpp"
#include "cli/command_reply.hpp"
#include "cli/library_options.hpp"
#include "cli/library_verify.hpp"
#include "library/history_deletion.hpp"
#include "library/history_store.hpp"
#include "library/library_check.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Runs "library" commands. Lives on the main runner.
class LibraryCommands {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< looks at the disk; may block
    std::shared_ptr<Files> files;
    std::shared_ptr<const Clock> clock;
    HistoryStore* store = nullptr;
    HistoryDeletion* deletion = nullptr;
    LibraryVerify* verify = nullptr;
    LibraryMove* move = nullptr;

    /// Shows how far a move has come, on any thread; empty where nobody looks.
    HistoryRelocation::Progress showMoving;

    /// Whether the entry's file is known to be out of reach now.
    std::function<bool(const std::string& id)> isOutOfReach;

    /// Calls back when the library is loaded and what an earlier run left is cleared up.
    std::function<void(std::move_only_function<void()>)> whenReady;
  };

  explicit LibraryCommands(Services services) : services_(std::move(services)) {}

  /// Calls `done` once, when what was changed is on disk. `asker` is the process that wants it,
  /// empty for this one.
  void run(command::Library what, bool json, CommandDone done, const std::string& asker = {});

  /// Ends what this asker waits for where it may end anywhere: long looks, which change nothing
  /// then, and moves.
  void stop(const std::string& asker);

 private:
  using Change = std::function<Result<void>(const std::string& id)>;

  using StopFlag = std::shared_ptr<std::atomic<bool>>;

  void runNow(const command::Library& what, bool json, const StopFlag& stopped, CommandDone done);
  void list(const command::Library& what, bool json, CommandDone done) const;
  void collections(bool json, CommandDone done) const;
  void change(const EntryList& entries, bool json, const Change& change, CommandDone done);
  void collect(const command::Library& what, const EntryList& entries, bool json, CommandDone done);
  void trash(const EntryList& entries, bool json, CommandDone done);
  void undo(bool json, CommandDone done);
  void forget(const EntryList& entries, bool json, std::string remark, CommandDone done);
  void prune(bool json, const StopFlag& stopped, CommandDone done);
  void relocate(const Path& folder, bool json, const std::string& asker, CommandDone done);
  [[nodiscard]] Result<EntryList> resolve(const std::vector<std::string>& names) const;

  Services services_;
  std::multimap<std::string, std::weak_ptr<std::atomic<bool>>> running_;  // by asker
  std::multiset<std::string> movers_;  // those who wait for a move
  Alive alive_;
};

}  // namespace vantorel
