#include "library/library_repair.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/entry_files.hpp"
#include "library/finding_claims.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/parked_index.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

/// From a staged capture of another process to its entry it takes no longer than this, also when it
/// was staged before this run began and waits for the library.
constexpr double filingSeconds = 60;

using Place = std::tuple<std::string_view, std::string_view, std::string_view>;

std::string_view fileNameOf(const ScreenshotEntry& entry) {
  return std::string_view(entry.path).substr(entry.path.rfind('/') + 1);
}

bool hasFileAt(const ScreenshotEntry& entry, const std::string& path) {
  return entry.path == path || entry.originalPath == path;
}

/// Where an entry's file is, by whatever names its folder is called. Views of the entry.
Place placeOf(const ScreenshotEntry& entry) {
  return {entry.fileIdentity->volume, entry.fileIdentity->folder, fileNameOf(entry)};
}

/// A damaged index's entry for a file that is as `seen` says, where it can be read.
ScreenshotEntry ofParked(ScreenshotEntry entry, const Result<ScreenshotEntry>& seen) {
  if (!seen) return entry;
  entry.fileIdentity = seen->fileIdentity;
  entry.pixelWidth = seen->pixelWidth;
  entry.pixelHeight = seen->pixelHeight;
  return entry;
}

}  // namespace

/// What was repaired in files, and what comes of it for the entries.
struct RepairedFiles {
  LibraryFindings findings;
  RepairedPaths repaired{};
  EntryList adopted{};    ///< to be added
  EntryList goneStill{};  ///< to be forgotten

  /// The originals that are lost, with the entries that are to forget them.
  std::vector<std::pair<std::string, EntryPointer>> lostStill{};
};

namespace {

/// What the library says of the findings.
struct RepairScope {
  EntryList gone;
  std::vector<std::pair<std::string, EntryPointer>> lost;
  LibraryPaths paths;
  bool mayRemoveCopies = false;
};

/// Blocks.
RepairedFiles repairFiles(Files& files, const ImageCodec& codec, Trash& trash, RepairScope scope,
                          LibraryFindings findings) {
  RepairedFiles done{.findings = std::move(findings)};
  const LibraryFindings& found = done.findings;
  for (const Path& path : found.temporaries) {
    if (files.remove(path)) done.repaired.paths.insert(path.string());
  }
  for (const auto* const list : {&found.originalsWithoutEntry, &found.replacedFilesLeft}) {
    for (const Path& path : *list) {
      if (trash.moveToTrash(path)) done.repaired.paths.insert(path.string());
    }
  }
  std::unordered_map<std::string_view, const ScreenshotEntry*> parked;
  for (const EntryPointer& entry : found.parked.found) parked.emplace(entry->path, entry.get());
  for (const Path& path : found.filesWithoutEntry) {
    auto entry = entryForFile(files, codec, path);
    if (const auto known = parked.find(path.native()); known != parked.end()) {
      entry = ofParked(*known->second, entry);
    }
    if (!entry) continue;
    done.adopted.push_back(std::make_shared<const ScreenshotEntry>(*std::move(entry)));
  }
  std::ranges::copy(found.parked.outOfReach, std::back_inserter(done.adopted));
  if (scope.mayRemoveCopies && !found.copiesLeft.empty()) {
    for (std::string& path : removeCopiesLeft(files, trash, scope.paths, found.copiesLeft)) {
      done.repaired.paths.insert(std::move(path));
    }
  }
  done.goneStill = goneOf(files, scope.gone);
  for (auto& [path, entry] : scope.lost) {
    if (placeOfOriginal(files, *entry) == OriginalPlace::original) continue;
    done.lostStill.emplace_back(path, std::move(entry));
  }
  return done;
}

/// Adds the collections in which these entries are.
void addCollections(HistoryStore& store, const std::vector<HistoryCollection>& parked,
                    const EntryList& entries) {
  std::unordered_set<std::string_view> named;
  for (const EntryPointer& entry : entries) {
    named.insert(entry->collectionIDs.begin(), entry->collectionIDs.end());
  }
  for (const HistoryCollection& collection : parked) {
    // One of that id is the library's own.
    if (named.contains(collection.id)) (void)store.addCollection(collection);
  }
}

}  // namespace

/// One look, and what is repaired. Findings that are looked into elsewhere are not here meanwhile.
struct LibraryRepair::Run : RepairedFiles {
  Run(bool mayRepair, Done whenDone, Library& library)
      : repairs(mayRepair), done(std::move(whenDone)), claims(library) {}

  bool repairs;
  Done done;
  FindingClaims claims;
};

LibraryRepair::LibraryRepair(Services services)
    : services_(std::move(services)), startedAt_(services_.clock->now()) {}

void LibraryRepair::run(bool repairs, CheckProgress progress, Done done) {
  const auto run = std::make_shared<Run>(repairs, std::move(done), *services_.library);
  // What is over may still have to take its journal away.
  auto begin = lifetime_.guard([this, run, progress = std::move(progress)] {
    services_.library->deletion().settle(
        lifetime_.guard([this, run, progress] { look(run, progress); }));
  });
  if (!repairs || !recoverStaged) return begin();
  recoverStaged(std::move(begin));
}

void LibraryRepair::clearOriginals() {
  // An index that is missing or empty may yet be put back from a copy.
  const HistoryStore& store = services_.library->store();
  if (!store.indexWasReadFromDisk() || store.entries().empty()) return;
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, scope = scope()] { return checkOriginals(*files, scope); },
      lifetime_.guard([this](LibraryFindings findings) {
        // In an undo they may be back before their entries are.
        if (services_.library->deletion().isBusy()) return;
        FindingClaims claims(*services_.library);
        claims.dropSettled(findings);
        claims.claimOriginals(findings);
        if (findings.originalsWithoutEntry.empty() && findings.temporaries.empty()) return;
        roundTrip(
            *services_.work, services_.main,
            [trash = services_.trash, files = services_.files, findings = std::move(findings)] {
              for (const Path& path : findings.temporaries) {
                if (const auto removed = files->remove(path); !removed) {
                  logWarning("History", "{}: {}", path.string(), removed.error().reason);
                }
              }
              for (const Path& path : findings.originalsWithoutEntry) {
                if (const auto moved = trash->moveToTrash(path); !moved) {
                  logWarning("History", "{}: {}", path.string(), moved.error().reason);
                }
              }
            },
            lifetime_.guard([claims = std::move(claims)]() mutable { claims.release(); }));
      }));
}

LibraryScope LibraryRepair::scope() const {
  const HistoryStore& store = services_.library->store();
  LibraryScope scope{.entries = store.entries(),
                     .unreadPaths = store.unreadPaths(),
                     .indexWasRead = store.indexWasReadFromDisk(),
                     .paths = store.paths(),
                     .captureFolders = services_.captureFolders(),
                     .originals = store.paths().originals(),
                     .stagedBefore = services_.clock->now() - filingSeconds,
                     .begunBefore = startedAt_,
                     .filesOfStaged = services_.filesOfStaged};
  scope.isWholePicture = services_.isWholePicture;
  scope.leftovers = store.leftovers();
  scope.lookedAt = services_.clock->now();
  if (services_.library->deletion().isBusy()) {
    scope.journalsInUse.insert(store.paths().deletions());
  }
  if (services_.library->relocation().isRunning()) {
    scope.journalsInUse.insert(store.paths().relocationJournal());
  }
  return scope;
}

void LibraryRepair::look(const RunPointer& run, CheckProgress progress) {
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, scope = scope(), progress = std::move(progress)] {
        return checkLibrary(*files, scope, progress);
      },
      lifetime_.guard([this, run](LibraryFindings found) {
        if (found.look.wasStopped) return run->done({.wasStopped = true});
        run->findings = std::move(found);
        whenSettled([this, run](const std::set<Path>& staging) {
          run->claims.dropSettled(run->findings);
          const auto isStaging = [&](const Path& path) { return staging.contains(path); };
          std::erase_if(run->findings.stagedCaptures, isStaging);
          std::erase_if(run->findings.notJudged, isStaging);
          lookAgain(run);
        });
      }));
}

/// Once files that an undo put back have their entries, and captures being staged are known.
void LibraryRepair::whenSettled(std::function<void(const std::set<Path>& staging)> go) {
  auto settle = lifetime_.guard([this, go = std::move(go)](const std::set<Path>& staging) {
    services_.library->deletion().settle(lifetime_.guard([go, staging] { go(staging); }));
  });
  if (!whenStagingKnown) return settle(std::set<Path>());
  whenStagingKnown(std::move(settle));
}

// In a long look an entry may have gone and come back, and its files have been moved and changed,
// without a trace. What is a fault is one still while nobody changes anything.
void LibraryRepair::lookAgain(const RunPointer& run) {
  if (run->repairs) {
    run->claims.claimOriginals(run->findings);
    run->claims.claimFaulty(run->findings);
  }
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, scope = scope(), findings = std::move(run->findings)]() mutable {
        checkAgain(*files, scope, findings);
        return std::move(findings);
      },
      lifetime_.guard([this, run, wasQuiet = isQuiet(),
                       before =
                           services_.library->store().writeSequence()](LibraryFindings findings) {
        run->findings = std::move(findings);
        judge(run, wasQuiet && isQuiet() && before == services_.library->store().writeSequence());
      }));
}

void LibraryRepair::judge(const RunPointer& run, bool wasQuiet) {
  LibraryFindings& findings = run->findings;
  run->claims.dropSettled(findings);
  if (!wasQuiet) {
    for (const EntryPointer& entry : findings.look.gone)
      findings.notJudged.emplace_back(entry->path);
    for (const LostOriginal& lost : findings.withoutOriginal) {
      findings.notJudged.emplace_back(*lost.entry->originalPath);
    }
    findings.look.gone.clear();
    findings.withoutOriginal.clear();
    findings.parked = {};
    for (auto* const list :
         {&findings.filesWithoutEntry, &findings.originalsWithoutEntry, &findings.journals}) {
      std::ranges::move(*list, std::back_inserter(findings.notJudged));
      list->clear();
    }
  }
  if (!run->repairs) return finish(run);
  repair(run);
}

/// Whether no files of entries are on their way anywhere.
bool LibraryRepair::isQuiet() const {
  return !services_.library->deletion().isBusy() && !services_.library->relocation().isRunning();
}

// Parked indexes, journals and entries out of reach stay: somebody may still need them.
void LibraryRepair::repair(const RunPointer& run) {
  RepairScope scope{
      .gone = adoptNames(services_.library->store(), run->findings.look, run->claims.ids()).gone,
      .lost = {},
      .paths = services_.library->paths(),
      .mayRemoveCopies = !services_.library->relocation().isRunning()};
  for (const LostOriginal& one : run->findings.withoutOriginal) {
    const EntryPointer entry = services_.library->store().find(one.entry->id);
    if (entry && entry->originalPath) scope.lost.emplace_back(*one.entry->originalPath, entry);
  }
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, codec = services_.codec, trash = services_.trash,
       scope = std::move(scope), findings = std::move(run->findings)]() mutable {
        return repairFiles(*files, *codec, *trash, std::move(scope), std::move(findings));
      },
      lifetime_.guard([this, run](RepairedFiles repaired) {
        static_cast<RepairedFiles&>(*run) = std::move(repaired);
        learnInSlices(services_.main, run->findings.look.learned,
                      lifetime_.guard([this](const auto& slice) {
                        remember(services_.library->store(), slice);
                      }),
                      lifetime_.guard([this, run] { adopt(run); }));
      }));
}

/// Gives the files that have none their entries.
void LibraryRepair::adopt(const RunPointer& run) {
  const EntryList& found = run->adopted;
  addCollections(services_.library->store(), run->findings.parked.collections, found);
  const auto add = [this, run, &found](std::size_t begin, std::size_t end) {
    HistoryStore& store = services_.library->store();
    // Some may have been filed since, under another name of their folder.
    std::unordered_set<std::string_view> names;
    for (std::size_t i = begin; i < end; ++i) names.insert(fileNameOf(*found[i]));
    std::set<Place> taken;
    for (const EntryPointer& entry : store.entries()) {
      if (entry->fileIdentity && names.contains(fileNameOf(*entry))) taken.insert(placeOf(*entry));
    }
    std::vector<PlacedEntry> added;
    for (std::size_t i = begin; i < end; ++i) {
      run->repaired.paths.insert(found[i]->path);
      const bool isFiled = store.find(found[i]->id) || store.findByPath(found[i]->path) ||
                           (found[i]->fileIdentity && taken.contains(placeOf(*found[i])));
      if (!isFiled) added.push_back({store.entries().size(), found[i]});
    }
    store.insertEntries(std::move(added));
  };
  inSlices(services_.main, found.size(), lifetime_.guard(add),
           lifetime_.guard([this, run] { clearUp(run); }));
}

/// Takes away what names nothing.
void LibraryRepair::clearUp(const RunPointer& run) {
  HistoryStore& store = services_.library->store();
  for (const auto& [found, lost] : run->lostStill) {
    const EntryPointer entry = store.find(lost->id);
    const bool isSame = entry && entry->originalPath == lost->originalPath &&
                        entry->originalIdentity == lost->originalIdentity;
    if (!isSame) continue;
    const auto cleared = store.update(lost->id, [](ScreenshotEntry& changed) {
      changed.originalPath = std::nullopt;
      changed.originalIdentity.reset();
    });
    if (cleared) run->repaired.originals.insert(found);
  }
  run->claims.release();
  // As it is reported: an entry whose name another one's file has got another name.
  std::unordered_map<std::string_view, std::string_view> reported;
  for (const EntryPointer& entry : run->findings.look.gone) {
    reported.emplace(entry->id, entry->path);
  }
  std::vector<std::string> going;
  for (const EntryPointer& entry : settledEntries(store, run->goneStill)) {
    going.push_back(entry->id);
    run->repaired.paths.emplace(reported.at(entry->id));
  }
  for (const SeenFile& file : run->findings.look.renamed) {
    const EntryPointer entry = store.find(file.entry->id);
    if (entry && hasFileAt(*entry, file.path.string())) {
      run->repaired.paths.insert(file.path.string());
    }
  }
  // Writes the new entries as well.
  services_.library->deletion().forget(going, [this, run](const Result<std::size_t>& saved) {
    if (saved) return setCopiesAside(run);
    run->done({.indexNotSaved = saved.error().reason});
  });
}

/// What a damaged index knew is on the disk: what is forgotten from now on does not come back.
void LibraryRepair::setCopiesAside(const RunPointer& run) {
  const HistoryStore& store = services_.library->store();
  const ParkedCaptures& parked = run->findings.parked;
  const auto isFiled = [&](const EntryPointer& entry) {
    return store.find(entry->id) || store.findByPath(entry->path);
  };
  const bool isAllFiled =
      std::ranges::all_of(parked.found, isFiled) && std::ranges::all_of(parked.outOfReach, isFiled);
  if (!isAllFiled || parked.copies.empty()) return finish(run);
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, copies = parked.copies] {
        std::vector<std::string> marked;
        for (const Path& copy : copies) {
          if (const auto done = markSalvaged(*files, copy); done) {
            marked.push_back(copy.string());
          } else {
            logWarning("History", "{}: {}", copy.string(), done.error().reason);
          }
        }
        return marked;
      },
      lifetime_.guard([this, run](const std::vector<std::string>& marked) {
        run->repaired.paths.insert(marked.begin(), marked.end());
        finish(run);
      }));
}

// How large the library is comes last: it is measured as the repair left it.
void LibraryRepair::finish(const RunPointer& run) {
  roundTrip(
      *services_.work, services_.main,
      [findings = std::move(run->findings), repaired = std::move(run->repaired)] {
        return VerifyReport::of(findings, repaired);
      },
      lifetime_.guard(
          [this, run](VerifyReport report) { measure(std::move(report), std::move(run->done)); }));
}

void LibraryRepair::measure(VerifyReport report, Done done) {
  services_.library->disk().whenMeasured(lifetime_.guard(
      [this, report = std::move(report), done = std::move(done)](std::uint64_t bytes) mutable {
        report.captures = services_.library->store().entries().size();
        report.bytes = bytes;
        done(std::move(report));
      }));
}

}  // namespace vantorel
