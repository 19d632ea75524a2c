#include "library/library.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "base/round_trip.hpp"
#include "library/look_adoption.hpp"
#include "library/rewrite_journal.hpp"

namespace vantorel {
namespace {

/// Until the library is tried again that another process has.
constexpr std::chrono::seconds reopenPause{1};

}  // namespace

Library::Library(Services services, LibraryPaths paths)
    : services_(services),
      store_({.files = services.files,
              .clock = services.clock,
              .main = services.main,
              .persist = services.persist,
              .userID = services.userID},
             std::move(paths)),
      deletion_({.store = store_,
                 .files = services.files,
                 .trash = services.trash,
                 .clock = services.clock,
                 .main = services.main,
                 .work = services.deletions}),
      relocation_({.store = store_,
                   .files = services.files,
                   .clock = services.clock,
                   .main = services.main,
                   .work = services.moves}),
      retention_({.store = store_,
                  .deletion = deletion_,
                  .files = services.files,
                  .clock = services.clock,
                  .main = services.main,
                  .work = services.moves}),
      disk_(store_, services.files, services.main, services.moves) {}

void Library::open() {
  if (std::exchange(isOpening_, true)) return;
  store_.onHeld = [this] {
    for (auto& go : std::exchange(waitingTillHeld_, {})) go();
  };
  store_.onTakenOver = [this] { load(); };
  load();
}

void Library::load() {
  // Who comes after this look has begun waits for the next one, if there is one.
  const std::size_t looking = waitingForLook_.size();
  const auto loaded = [this, looking] {
    const bool isInUse = store_.loadOutcome() == IndexLoad::inUse;
    const auto end = isInUse ? waitingForLook_.begin() + static_cast<std::ptrdiff_t>(looking)
                             : waitingForLook_.end();
    std::move(waitingForLook_.begin(), end, std::back_inserter(waiting_));
    waitingForLook_.erase(waitingForLook_.begin(), end);
    if (isInUse) {
      services_.main->postAfter(reopenPause, lifetime_.guard([this] { load(); }));
      return becomeReady();
    }
    // Files that an earlier run moved are not gone: that must be known first.
    relocation_.recover(lifetime_.guard(
        [this] { deletion_.recover(lifetime_.guard([this] { recoverRewrites(); })); }));
  };
  store_.load(lifetime_.guard(loaded), looking > 0);
}

void Library::recoverRewrites() {
  if (!store_.indexWasReadFromDisk() || store_.indexRefusal()) return becomeReady();
  roundTrip(
      *services_.moves, services_.main,
      [&files = services_.files, paths = paths(), &clock = services_.clock,
       entries = store_.entries()] { RewriteJournal(files, paths, clock).recover(entries); },
      lifetime_.guard([this] { becomeReady(); }));
}

void Library::becomeReady() {
  const bool isLate = std::exchange(isReady_, true) && !store_.indexRefusal();
  if (isLate && onLateOpening) onLateOpening();
  for (auto& go : std::exchange(waiting_, {})) go();
  for (auto& go : std::exchange(waitingTillHeld_, {})) go();
}

void Library::whenReadyOrHeld(std::move_only_function<void()> go) {
  if (isReady_ || awaitedHolder()) return go();
  waitingTillHeld_.push_back(std::move(go));
}

void Library::findFiles(const std::vector<std::string>& ids, Claimed claimed, TaskRunner& work,
                        FilesFound then) {
  std::set<std::string> own;
  if (claimed == Claimed::byCaller) own.insert(ids.begin(), ids.end());
  roundTrip(
      work, services_.main,
      [&files = services_.files, before = LookBeforeUse(store_, ids)] {
        return before.look(files);
      },
      lifetime_.guard(
          [this, own = std::move(own), then = std::move(then)](const FileLook& look) mutable {
            AdoptedLook adopted = adoptLook(store_, look, own);
            if (adopted.renamed == 0 || store_.indexRefusal()) return then(adopted.unsettled);
            // The program may end with the answer.
            store_.flush(
                lifetime_.guard([then = std::move(then), adopted = std::move(adopted)](
                                    const Result<void>&) mutable { then(adopted.unsettled); }));
          }));
}

void Library::whenUpToDate(std::move_only_function<void()> go) {
  if (!isReady_ || store_.loadOutcome() != IndexLoad::inUse) return whenReady(std::move(go));
  waitingForLook_.push_back(std::move(go));
}

void Library::whenReady(std::move_only_function<void()> go) {
  if (isReady_) return go();
  waiting_.push_back(std::move(go));
}

}  // namespace vantorel
