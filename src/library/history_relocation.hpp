#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/lifetime.hpp"
#include "base/round_trip.hpp"
#include "base/task_runner.hpp"
#include "library/history_store.hpp"
#include "library/relocation_journal.hpp"
#include "library/relocation_mover.hpp"
#include "library/relocation_report.hpp"
#include "library/relocation_stop_flag.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Moves the library's captures to another folder, fifty files at a time, while the library is in
/// use. Lives on the main runner; files move on `work`.
///
/// However the program ends, each entry's file is at its old or its new place and the next launch
/// finds it: a journal names the files before they move, and until the index on disk names their
/// new places. Files never replace others: a name that is taken gets a number.
class HistoryRelocation {
 public:
  static constexpr std::size_t relocationBatchSize = 50;  ///< files

  struct Services {
    HistoryStore& store;
    Files& files;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue on which moves block

    std::size_t batchSize = relocationBatchSize;  ///< files
  };

  explicit HistoryRelocation(Services services);
  ~HistoryRelocation();
  HistoryRelocation(const HistoryRelocation&) = delete;
  HistoryRelocation& operator=(const HistoryRelocation&) = delete;

  /// After loading: puts the files that an earlier run had moved into the index, and closes its
  /// journal but for files of which only a disk that is away could tell. The next move takes along
  /// what had not moved. `done` comes when the index says so too. Where a disk did not answer
  /// during a move, this run does it again, every now and then and before the next move.
  void recover(std::move_only_function<void()> done);

  /// Called on `work` after each file.
  using Progress = std::function<void(std::size_t done, std::size_t total)>;
  using Done = std::move_only_function<void(RelocationOutcome)>;

  /// Moves the files of all entries that lie in the target's sources, or that an earlier move left
  /// behind. A move that is asked for while another one runs comes after it. `flag` ends this move
  /// alone; null for one that only `stop` ends.
  void relocate(RelocationTarget target, Progress progress, Done done,
                std::shared_ptr<RelocationStopFlag> flag = nullptr);

  /// Ends all moves after the batch that is under way.
  void stop();

  /// Calls `done` when no move runs any more; at once when none does.
  void settle(std::move_only_function<void()> done);

  [[nodiscard]] bool isRunning() const { return run_ != nullptr; }

 private:
  /// Where a file is now, and what its entry is to remember of it.
  struct NewPlace {
    std::string path;
    std::optional<FileIdentity> identity{};
    bool isInPlace = false;  ///< another name of where it has been: what is remembered holds
  };
  using NewPlaces = std::map<std::string, NewPlace>;  // by the old path

  struct Request {
    RelocationTarget target;
    Progress progress;
    Done done;
    std::shared_ptr<RelocationStopFlag> flag;
    bool hasLooked = false;  ///< at what an earlier move is not known to have moved
  };
  struct Run;

  /// Calls `job` where it may block, and then `then` here with what came of it.
  template <class Job, class Then>
  void onWork(Job job, Then then) {
    roundTrip(*services_.work, services_.main, std::move(job), lifetime_.guard(std::move(then)));
  }

  void startNext();
  void endRecovery(std::move_only_function<void()> done);
  void lookAgainLater();
  void findFiles();
  void plan();
  void planned(RelocationMover::Plan plan);
  void nextBatch();
  void landed(RelocationMover::Batch batch);
  void takeBack(const std::vector<RelocationMover::Moved>& stayed);
  void finish();
  void finishSaved();
  [[nodiscard]] std::vector<std::size_t> claimBatch();
  void adopt(const NewPlaces& places);
  void replay(RelocationJournal journal, RelocationJournal::Resolution resolution,
              std::move_only_function<void()> done);
  static bool close(Files& files, const LibraryPaths& paths, RelocationJournal journal,
                    RelocationJournal::Resolution resolution);
  static bool settleDoubtful(Files& files, const LibraryPaths& paths, double now);

  Services services_;
  std::deque<Request> waiting_;
  std::unique_ptr<Run> run_;
  std::map<std::string, EntryClaim> claims_;  // of the batch under way
  std::vector<std::move_only_function<void()>> settling_;
  bool isRecovering_ = false;
  bool hasUnanswered_ = false;  // in the journals
  Lifetime timer_;
  Lifetime lifetime_;
};

}  // namespace vantorel
