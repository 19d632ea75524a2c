#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/library_move.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "cli/command_reply.hpp"
#include "cli/library_options.hpp"
#include "library/file_reach.hpp"
#include "library/library.hpp"
#include "library/library_repair.hpp"
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
    Library* library = nullptr;
    LibraryRepair* repair = nullptr;
    LibraryMove* move = nullptr;
  };

  explicit LibraryCommands(Services services) : services_(std::move(services)) {}

  /// Calls `done` once, when what was changed is on disk.
  void run(command::Library what, bool json, CommandDone done,
           const CommandRequester& requester = {});

  /// Ends what this requester waits for where it may end anywhere: long looks, which change nothing
  /// then, and moves, which end after a batch. It is answered all the same. What others wait for
  /// goes on.
  void stop(const std::string& requester);

 private:
  using Change = std::function<Result<void>(const std::string& id)>;

  /// One command under way.
  struct Running {
    RelocationStopFlag flag;   // stops moves and looks alike
    bool isCalledOff = false;  // by the one who asked, rather than by a quit
    ShowProgress show;
  };
  using RunningPointer = std::shared_ptr<Running>;

  /// Shows each hundredth capture that a look has come to, and goes on until it is to stop.
  [[nodiscard]] static CheckProgress progressOf(RunningPointer running);

  /// What was found out of the files of entries.
  struct Looked {
    EntryList entries;
    std::vector<FileReach> reaches;   ///< one for each; none when nobody answered in time
    std::set<std::string> unsettled;  ///< ids of those whose paths are not to be trusted

    [[nodiscard]] FileReach reachOf(std::size_t place) const {
      return place < reaches.size() ? reaches[place] : FileReach::unknown;
    }
  };

  /// Answers with a line for each entry.
  void withLines(EntryList entries, bool json, CommandReply reply, CommandDone done) const;
  void runNow(const command::Library& what, bool json, const RunningPointer& running,
              CommandDone done);
  void list(const command::Library& what, bool json, CommandDone done) const;
  void collections(bool json, CommandDone done) const;
  void lookAt(const command::Library& what, const EntryList& entries, bool json, CommandDone done);
  [[nodiscard]] EntryList found(const std::vector<std::string>& ids) const;
  void reachAll(Looked looked, std::move_only_function<void(Looked)> done);
  [[nodiscard]] CommandReply details(const Looked& looked, bool json) const;
  [[nodiscard]] static CommandReply paths(const Looked& looked, bool json);
  void change(const EntryList& entries, bool json, const Change& change, CommandDone done);
  void collect(const command::Library& what, const EntryList& entries, bool json, CommandDone done);
  void trash(const EntryList& entries, bool json, CommandDone done);
  void undo(bool json, CommandDone done);
  void forget(const EntryList& entries, bool json, std::string remark, CommandDone done);
  void verify(bool repairs, bool json, const RunningPointer& running, CommandDone done);
  void prune(bool forgetsReplaced, bool json, const RunningPointer& running, CommandDone done);
  void relocate(const Path& folder, bool json, const RunningPointer& running, CommandDone done);
  [[nodiscard]] Result<EntryList> resolve(const std::vector<std::string>& names) const;

  Services services_;
  std::multimap<std::string, std::weak_ptr<Running>> running_;  // by requester
  Lifetime lifetime_;
};

}  // namespace vantorel
