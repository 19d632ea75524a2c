#include "library/library_prune.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "base/round_trip.hpp"
#include "library/entry_filter.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/silent_folders.hpp"

namespace vantorel {

void LibraryPrune::run(bool takesReplaced, CheckProgress progress,
                       std::move_only_function<void(PruneReport)> done) {
  auto learned = lifetime_.guard([this, takesReplaced, done = std::move(done)](
                                     const FileLook& look, PruneReport& report) mutable {
    if (report.wasStopped) return done(std::move(report));
    const HistoryStore& store = services_.library->store();
    AdoptedLook adopted = adoptNames(services_.library->store(), look);
    report.renamed = adopted.renamed;
    report.outOfReach = look.outOfReach.size() - look.replaced.size();
    report.inDoubt = static_cast<std::size_t>(
        std::ranges::count(look.inDoubt, FileRole::shown, &EntryFile::role));
    EntryList going = std::move(adopted.gone);
    if (takesReplaced) {
      going.insert(going.end(), look.replaced.begin(), look.replaced.end());
    } else {
      report.replaced = look.replaced.size();
    }
    // What changed meanwhile may have its file elsewhere by now.
    lookAgain(*services_.files, *services_.work, services_.main, settledEntries(store, going),
              lifetime_.guard([this, report = std::move(report),
                               done = std::move(done)](const EntryList& gone) mutable {
                takeOut(settledEntries(services_.library->store(), gone),
                        [report = std::move(report),
                         done = std::move(done)](ForgetReport forgotten) mutable {
                          report.forgotten = std::move(forgotten);
                          done(std::move(report));
                        });
              }));
  });
  struct Seen {
    FileLook look;
    PruneReport report;
  };
  const HistoryStore& store = services_.library->store();
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files,
       scope = FileLookScope{.entries = store.entries(),
                             .unreadPaths = store.unreadPaths(),
                             .paths = store.paths()},
       progress = std::move(progress)] {
        Seen seen{.look = lookForFiles(*files, scope.entries, scope, progress), .report = {}};
        seen.report.silentFolders = silentFolders(*files, seen.look.outOfReach);
        seen.report.wasStopped = seen.look.wasStopped;
        return seen;
      },
      lifetime_.guard([this, learned = std::move(learned)](Seen seen) mutable {
        auto files = std::exchange(seen.look.learned, {});
        if (seen.look.wasStopped) files.clear();
        learnInSlices(services_.main, std::move(files), lifetime_.guard([this](const auto& slice) {
          remember(services_.library->store(), slice);
        }),
                      [seen = std::move(seen), learned = std::move(learned)]() mutable {
                        learned(seen.look, seen.report);
                      });
      }));
}

// Whose file has whose name by now is known only while all entries are there.
void LibraryPrune::forget(const std::vector<std::string>& ids,
                          std::move_only_function<void(ForgetReport)> done) {
  services_.library->findFiles(
      ids, Library::Claimed::no, *services_.work,
      lifetime_.guard([this, ids, done = std::move(done)](const std::set<std::string>&) mutable {
        takeOut(findEntries(services_.library->store(), ids), std::move(done));
      }));
}

void LibraryPrune::takeOut(EntryList entries, std::move_only_function<void(ForgetReport)> done) {
  const std::vector<std::string> ids = idsOf(entries);
  services_.library->deletion().forget(
      ids, lifetime_.guard([this, entries = std::move(entries),
                            done = std::move(done)](const Result<std::size_t>& count) mutable {
        ForgetReport report;
        if (!count) report.indexNotSaved = count.error().reason;
        for (EntryPointer& entry : entries) {
          if (services_.library->store().find(entry->id) == nullptr) {
            report.entries.push_back(std::move(entry));
          } else {
            report.stayed.push_back({entry, reasonToStay(entry->id)});
          }
        }
        done(std::move(report));
      }));
}

/// Of an entry that was not taken out a moment ago.
std::string LibraryPrune::reasonToStay(const std::string& id) const {
  const auto claim = services_.library->claim(id, EntryWork::deleting);
  return sentence(claim ? EntryBusy{EntryWork::deleting} : claim.error());
}

}  // namespace vantorel
