#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/library_move.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "cli/command_reply.hpp"
#include "cli/library_options.hpp"
#include "library/entry_file_look.hpp"
#include "library/library.hpp"
#include "library/library_prune.hpp"
#include "library/library_repair.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// Runs "library" commands. Lives on the main runner.
class LibraryCommands {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< words what is long; may block
    std::shared_ptr<const Clock> clock;
    Library* library = nullptr;
    LibraryRepair* repair = nullptr;
    LibraryPrune* prune = nullptr;
    EntryFileLook* fileLook = nullptr;
    LibraryMove* move = nullptr;

    /// Reads the text of a capture that has none yet, and answers when the entry has it, or in a
    /// sentence why it could not. Empty: nobody can.
    std::function<void(const std::string& id,
                       std::function<void(Result<EntryPointer, std::string>)> read)>
        readText{};
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

  /// Answers with a line for each entry.
  void withLines(EntryList entries, bool json, CommandReply reply, CommandDone done) const;
  void runNow(const command::Library& what, bool json, const RunningPointer& running,
              CommandDone done);
  void list(const command::Library& what, bool json, CommandDone done) const;
  void search(const command::Library& what, bool json, CommandDone done) const;
  struct Texts;
  void text(EntryList entries, bool json, const RunningPointer& running, CommandDone done);
  void nextText(const std::shared_ptr<Texts>& texts);
  void collections(bool json, CommandDone done) const;
  void lookAt(command::Library::Verb verb, const EntryList& entries, bool json, CommandDone done);
  void change(const EntryList& entries, bool json, const Change& change, CommandDone done);
  void collect(const command::Library& what, const EntryList& entries, bool json, CommandDone done);
  void trash(const EntryList& entries, bool json, CommandDone done);
  void undo(bool json, CommandDone done);
  void forget(const EntryList& entries, bool json, CommandDone done);
  void withForgotten(ForgetReport report, bool json, const std::string& remarks,
                     CommandDone done) const;
  void verify(bool repairs, bool json, const RunningPointer& running, CommandDone done);
  void prune(bool takesReplaced, bool json, const RunningPointer& running, CommandDone done);
  void relocate(const Path& folder, bool json, const RunningPointer& running, CommandDone done);

  Services services_;
  std::multimap<std::string, std::weak_ptr<Running>> running_;  // by requester
  Lifetime lifetime_;
};

}  // namespace vantorel
