#include "library/library_prune.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "library/entry_filter.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/silent_folders.hpp"

namespace vantorel {

void LibraryPrune::run(bool takesReplaced, CheckProgress progress,
                       std::move_only_function<void(PruneReport)> done) {
  auto learn = lifetime_.guard(
      [this](const std::vector<SeenFile>& files) { remember(services_.library->store(), files); });
  auto looked = lifetime_.guard([this, takesReplaced, done = std::move(done)](
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
  services_.work->post(
      [files = services_.files, main = services_.main,
       scope = FileLookScope{.entries = services_.library->store().entries(),
                             .unreadPaths = services_.library->store().unreadPaths(),
                             .paths = services_.library->store().paths()},
       progress = std::move(progress), learn = std::move(learn),
       looked = std::move(looked)]() mutable {
        FileLook look = lookForFiles(*files, scope.entries, scope, progress);
        PruneReport report{.silentFolders = silentFolders(*files, look.outOfReach),
                           .wasStopped = look.wasStopped};
        auto learned = look.wasStopped ? std::vector<SeenFile>() : std::move(look.learned);
        postInSlices(main, std::move(learned), std::move(learn),
                     [look = std::move(look), report = std::move(report),
                      looked = std::move(looked)]() mutable { looked(look, report); });
      });
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
  services_.library->deletion().forget(ids, [entries = std::move(entries), done = std::move(done)](
                                                const Result<std::size_t>& count) mutable {
    ForgetReport report{.entries = std::move(entries)};
    if (count) {
      report.count = *count;
    } else {
      report.indexNotSaved = count.error().reason;
    }
    done(std::move(report));
  });
}

}  // namespace vantorel
