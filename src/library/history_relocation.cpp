#include "library/history_relocation.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/log.hpp"
#include "library/file_move.hpp"
#include "library/file_reach.hpp"
#include "library/history_log.hpp"
#include "library/look_adoption.hpp"
#include "library/parked_captures.hpp"
#include "library/relocation_journal.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

using Pair = RelocationJournal::Pair;

/// Between two looks at what a silent disk made of a move.
constexpr std::chrono::seconds lookAgainPause{30};

enum class PairState { waiting, moved, failed, dropped };

std::unordered_set<std::string> pathsOf(const EntryList& entries) {
  std::unordered_set<std::string> paths;
  for (const EntryPointer& entry : entries) {
    forEachPath(*entry, [&](const std::string& path) { paths.insert(path); });
  }
  return paths;
}

/// A repair of a damaged index will ask where the files of its entries are.
void keepForSalvage(const Files& files, const LibraryPaths& paths,
                    RelocationJournal::Resolution& resolution) {
  if (resolution.unnamed.empty()) return;
  const auto awaited = pathsToSalvage(files, paths);
  std::ranges::copy_if(resolution.unnamed, std::back_inserter(resolution.undecided),
                       [&](const Pair& pair) {
                         return awaited.contains(pair.oldPath) || awaited.contains(pair.newPath);
                       });
}

}  // namespace

struct HistoryRelocation::Run {
  Request request;
  std::shared_ptr<RelocationMover> mover;
  RelocationMover::Plan plan;
  bool isPlanned = false;         // something may have moved
  std::vector<PairState> states;  // one for each of the plan's pairs
  std::size_t next = 0;           // the first pair of the next batch
  std::vector<std::size_t> dropped;
  std::set<std::string> unsettled;  // ids of entries whose paths are not to be trusted
  std::shared_ptr<std::size_t> tried = std::make_shared<std::size_t>(0);  // counted on `work`
  RelocationOutcome outcome;

  void fail(std::size_t pair, const std::string& reason) {
    states[pair] = PairState::failed;
    if (outcome.reason.empty()) outcome.reason = reason;
  }

  void count() {
    for (const RelocationMover::Capture& capture : plan.captures) {
      const auto has = [&](PairState state) {
        return std::ranges::any_of(capture.pairs,
                                   [&](std::size_t pair) { return states[pair] == state; });
      };
      if (plan.problem || !capture.problem.empty() || has(PairState::failed)) {
        ++outcome.failed;
        if (outcome.reason.empty()) outcome.reason = plan.problem.value_or(capture.problem);
      } else if (has(PairState::waiting)) {
        ++outcome.notMoved;
      } else if (has(PairState::moved)) {
        ++outcome.moved;
      }
    }
  }
};

HistoryRelocation::HistoryRelocation(Services services) : services_(std::move(services)) {}

HistoryRelocation::~HistoryRelocation() = default;

void HistoryRelocation::relocate(RelocationTarget target, Progress progress, Done done,
                                 std::shared_ptr<RelocationStopFlag> flag) {
  if (flag == nullptr) flag = std::make_shared<RelocationStopFlag>();
  waiting_.push_back(
      {std::move(target), std::move(progress), std::move(done), std::move(flag), false});
  if (run_ == nullptr) startNext();
}

void HistoryRelocation::stop() {
  if (run_ != nullptr) run_->request.flag->stopped = true;
  for (const Request& request : waiting_) request.flag->stopped = true;
}

void HistoryRelocation::settle(std::move_only_function<void()> done) {
  if (run_ == nullptr) return done();
  settling_.push_back(std::move(done));
}

void HistoryRelocation::startNext() {
  if (isRecovering_) return;
  if (waiting_.empty()) {
    for (auto& done : std::exchange(settling_, {})) done();
    return lookAgainLater();
  }
  if (hasUnanswered_ && !std::exchange(waiting_.front().hasLooked, true)) return recover([] {});
  run_ = std::make_unique<Run>();
  run_->request = std::move(waiting_.front());
  waiting_.pop_front();
  run_->mover =
      std::make_shared<RelocationMover>(services_.files, services_.store.paths(), services_.clock);
  if (!services_.store.indexWasReadFromDisk() || services_.store.indexRefusal()) {
    run_->outcome.refusal = RelocationRefusal::indexUnreadable;
    return finish();
  }
  // What an earlier move left in the journal is judged by the entries, so they must be on disk.
  services_.store.flush(lifetime_.guard([this](const Result<void>& saved) {
    if (saved) return findFiles();
    run_->outcome.indexNotSaved = saved.error().reason;
    finish();
  }));
}

// What moves is an entry's own file, whatever name it has by now.
void HistoryRelocation::findFiles() {
  std::vector<std::string> ids;
  for (const EntryPointer& entry : services_.store.entries()) ids.push_back(entry->id);
  onWork([&files = services_.files,
          before = LookBeforeUse(services_.store, ids)] { return before.look(files); },
         [this](const FileLook& look) {
           AdoptedLook adopted = adoptLook(services_.store, look);
           run_->unsettled = std::move(adopted.unsettled);
           if (look.renamed.empty()) return plan();
           services_.store.flush(lifetime_.guard([this](const Result<void>& saved) {
             if (saved) return plan();
             run_->outcome.indexNotSaved = saved.error().reason;
             finish();
           }));
         });
}

void HistoryRelocation::plan() {
  onWork([mover = run_->mover, entries = services_.store.entries(),
          target = run_->request.target] { return mover->plan(entries, target); },
         [this](RelocationMover::Plan plan) { planned(std::move(plan)); });
}

void HistoryRelocation::planned(RelocationMover::Plan plan) {
  run_->plan = std::move(plan);
  run_->states.assign(run_->plan.oldPaths.size(), PairState::waiting);
  run_->outcome.refusal = run_->plan.refusal;
  if (run_->plan.refusal || run_->plan.problem) return finish();
  run_->isPlanned = true;
  nextBatch();
}

/// The pairs of the next batch whose entries could be claimed. A pair that no entry needs any more
/// is dropped.
std::vector<std::size_t> HistoryRelocation::claimBatch() {
  const std::vector<std::string>& oldPaths = run_->plan.oldPaths;
  const std::size_t end = std::min(run_->next + services_.batchSize, oldPaths.size());
  std::unordered_map<std::string_view, std::vector<std::string>> users;
  for (std::size_t pair = run_->next; pair < end; ++pair) users[oldPaths[pair]];
  for (const EntryPointer& entry : services_.store.entries()) {
    forEachPath(*entry, [&](const std::string& path) {
      const auto found = users.find(path);
      if (found != users.end()) found->second.push_back(entry->id);
    });
  }
  const auto claim = [this](const std::string& id) {
    if (claims_.contains(id)) return true;
    if (run_->unsettled.contains(id)) return false;
    auto taken = services_.store.claims().claim(id, EntryWork::moving);
    if (!taken) return false;
    claims_.emplace(id, *std::move(taken));
    return true;
  };
  std::vector<std::size_t> ready;
  for (std::size_t pair = run_->next; pair < end; ++pair) {
    const std::vector<std::string>& ids = users[oldPaths[pair]];
    if (ids.empty()) {
      run_->states[pair] = PairState::dropped;
      run_->dropped.push_back(pair);
    } else if (std::ranges::all_of(ids, claim)) {
      ready.push_back(pair);
    } else {
      if (Path(oldPaths[pair]).extension() == ".vantorelstudio") {
        logWarning(historyLog, "a package's move could not be coordinated");
      }
      run_->fail(pair, "it is being changed");
    }
  }
  run_->next = end;
  return ready;
}

void HistoryRelocation::nextBatch() {
  if (run_->next == run_->plan.oldPaths.size()) return finish();
  std::function<void()> moving;
  if (run_->request.progress) {
    moving = [progress = run_->request.progress, tried = run_->tried,
              total = run_->plan.oldPaths.size()] { progress(++*tried, total); };
  }
  onWork([mover = run_->mover, flag = run_->request.flag, pairs = claimBatch(),
          moving = std::move(moving)] { return mover->move(pairs, *flag, moving); },
         [this](RelocationMover::Batch batch) { landed(std::move(batch)); });
}

void HistoryRelocation::landed(RelocationMover::Batch batch) {
  if (run_->request.flag->turnedAway) return finish();
  NewPlaces places;
  for (const RelocationMover::Moved& moved : batch.moved) {
    run_->states[moved.pair] = PairState::moved;
    places.emplace(moved.oldPath, NewPlace{moved.newPath, moved.identity, moved.isInPlace});
  }
  for (const auto& [pair, reason] : batch.failures) run_->fail(pair, reason);
  adopt(places);
  services_.store.flush(lifetime_.guard([this, batch = std::move(batch)](
                                            const Result<void>& saved) mutable {
    if (!saved) {
      run_->outcome.indexNotSaved =
          services_.store.indexSaveFailure().value_or(saved.error().reason);
      return finish();
    }
    claims_.clear();
    onWork([mover = run_->mover, moved = std::move(batch.moved),
            dropped = std::exchange(run_->dropped, {})] { return mover->retire(moved, dropped); },
           [this](const std::vector<RelocationMover::Moved>& stayed) { takeBack(stayed); });
    nextBatch();
  }));
}

/// The new folder went away after the index had named it: the originals are there still, and serve
/// until the disk comes back.
void HistoryRelocation::takeBack(const std::vector<RelocationMover::Moved>& stayed) {
  NewPlaces places;
  for (const RelocationMover::Moved& one : stayed) {
    places.emplace(one.newPath, NewPlace{one.oldPath, one.identity});
    run_->fail(one.pair, targetGoneReason);
  }
  adopt(places);
}

/// Puts new paths into all entries that have the old ones.
void HistoryRelocation::adopt(const NewPlaces& places) {
  if (places.empty()) return;
  std::vector<HistoryStore::Revision> revisions;
  for (const EntryPointer& entry : services_.store.entries()) {
    bool isConcerned = false;
    forEachPath(*entry, [&](const std::string& path) { isConcerned |= places.contains(path); });
    if (!isConcerned) continue;
    ScreenshotEntry moved = *entry;
    if (const auto found = places.find(moved.path);
        found != places.end() && !found->second.isInPlace) {
      moved.fileIdentity = found->second.identity;
    }
    if (const auto found = places.find(moved.originalPath.value_or(""));
        found != places.end() && !found->second.isInPlace) {
      moved.originalIdentity = found->second.identity;
    }
    forEachPath(moved, [&](std::string& path) {
      const auto found = places.find(path);
      if (found != places.end()) path = found->second.path;
    });
    revisions.push_back({entry, std::move(moved)});
  }
  services_.store.revise(std::move(revisions));
}

void HistoryRelocation::finish() {
  claims_.clear();
  run_->outcome.stoppedForQuit = run_->request.flag->turnedAway;
  // The last batch may still be on its way out of the journal.
  onWork(
      [mover = run_->mover, isPlanned = run_->isPlanned] {
        return isPlanned ? mover->end() : RelocationMover::Remains();
      },
      [this](const RelocationMover::Remains& remains) {
        run_->outcome.copiesLeft = remains.files;
        run_->outcome.reasonOfCopiesLeft = remains.reason;
        hasUnanswered_ |= remains.hasUnanswered;
        finishSaved();
      });
}

void HistoryRelocation::finishSaved() {
  // What was taken back at the end has to be in the index, unless that could not be written before.
  services_.store.flush(lifetime_.guard([this](const Result<void>& saved) {
    if (!saved && run_->isPlanned && !run_->outcome.indexNotSaved) {
      run_->outcome.indexNotSaved = saved.error().reason;
    }
    run_->count();
    const std::unique_ptr<Run> ended = std::move(run_);
    ended->request.done(std::move(ended->outcome));
    if (run_ == nullptr) startNext();
  }));
}

void HistoryRelocation::lookAgainLater() {
  if (!hasUnanswered_) return;
  timer_.renew();
  services_.main->postAfter(lookAgainPause, timer_.guard([this] {
    if (run_ == nullptr && !isRecovering_) recover([] {});
  }));
}

void HistoryRelocation::endRecovery(std::move_only_function<void()> done) {
  isRecovering_ = false;
  done();
  if (run_ == nullptr) startNext();
}

void HistoryRelocation::recover(std::move_only_function<void()> done) {
  if (!services_.store.indexWasReadFromDisk() || services_.store.indexRefusal()) return done();
  isRecovering_ = true;
  struct Found {
    std::optional<RelocationJournal> journal{};
    RelocationJournal::Resolution resolution{};
    NewPlaces places{};
    bool hasDoubtful = false;
  };
  onWork(
      [&files = services_.files, paths = services_.store.paths(), now = services_.clock.now(),
       named = pathsOf(services_.store.entries())] {
        Found found;
        auto read = RelocationJournal::read(files, paths);
        if (auto* const readable = std::get_if<RelocationJournal>(&read)) {
          readable->removeTemporaries(files);
          found.resolution = readable->resolve(files, named);
          keepForSalvage(files, paths, found.resolution);
          found.journal = std::move(*readable);
        } else if (const auto* const bad = std::get_if<RelocationJournal::Unreadable>(&read)) {
          logError(historyLog, "the relocation journal could not be read: {}", bad->reason);
        }
        for (const auto& [oldPath, newPath] : found.resolution.moved) {
          found.places.emplace(oldPath, NewPlace{newPath, identifyFile(files, newPath)});
        }
        found.hasDoubtful = settleDoubtful(files, paths, now);
        return found;
      },
      [this, done = std::move(done)](Found found) mutable {
        hasUnanswered_ =
            (hasUnanswered_ && !found.resolution.undecided.empty()) || found.hasDoubtful;
        if (!found.journal) return endRecovery(std::move(done));
        adopt(found.places);
        replay(*std::move(found.journal), std::move(found.resolution), std::move(done));
      });
}

void HistoryRelocation::replay(RelocationJournal journal, RelocationJournal::Resolution resolution,
                               std::move_only_function<void()> done) {
  services_.store.flush(
      lifetime_.guard([this, journal = std::move(journal), resolution = std::move(resolution),
                       done = std::move(done)](const Result<void>& saved) mutable {
        // Without the index on disk the journal is all that knows where the files are.
        if (!saved) return endRecovery(std::move(done));
        onWork(
            [&files = services_.files, paths = services_.store.paths(),
             journal = std::move(journal), resolution = std::move(resolution)]() mutable {
              return close(files, paths, std::move(journal), std::move(resolution));
            },
            [this, done = std::move(done)](bool hasDoubtful) mutable {
              hasUnanswered_ |= hasDoubtful;
              endRecovery(std::move(done));
            });
      }));
}

/// Answers whether there are names left that a removal may still come to.
bool HistoryRelocation::settleDoubtful(Files& files, const LibraryPaths& paths, double now) {
  RelocationLeftovers left = RelocationLeftovers::read(files, paths);
  const DoubtfulNames before = left.doubtful;
  left.doubtful.settle(files, now);
  if (left.doubtful != before) {
    if (const auto written = left.write(files, paths); !written) {
      logWarning(historyLog, "names in doubt were not noted: {}", written.error().reason);
    }
  }
  return !left.doubtful.isEmpty();
}

/// Answers the same.
bool HistoryRelocation::close(Files& files, const LibraryPaths& paths, RelocationJournal journal,
                              RelocationJournal::Resolution resolution) {
  RelocationLeftovers left = RelocationLeftovers::read(files, paths);
  const RelocationLeftovers before = left;
  const auto leave = [&](const Pair& pair) {
    std::erase_if(left.copied, [&](const Pair& one) { return one.oldPath == pair.oldPath; });
    left.copied.push_back(pair);
  };
  for (const std::string& original : resolution.surplus) {
    const Pair& pair = *std::ranges::find(journal.pairs, original, &Pair::oldPath);
    const auto removed = removeNotedFile(files, original, pair.volume);
    // The removal that was to end the move may still be under way.
    const bool wasHalfMoved = !pair.copy;
    if (wasHalfMoved || (!removed && isUnanswered(removed.error()))) left.doubtful.add(original);
    if (removed) continue;
    logWarning(historyLog, "{} stays beside its copy: {}", original, removed.error().reason);
    leave(pair);
  }
  std::ranges::for_each(resolution.inDoubt, leave);
  for (const std::string& path : resolution.unmoved) left.addFolderOf(path);
  auto written = left == before ? Result<void>() : left.write(files, paths);
  if (written && journal.pairs.size() != resolution.undecided.size()) {
    journal.pairs = std::move(resolution.undecided);
    written = journal.write(files, paths);
  }
  if (!written) {
    logError(historyLog, "the relocation journal could not be closed: {}", written.error().reason);
  }
  return !left.doubtful.isEmpty();
}

}  // namespace vantorel
