#include "cli/library_verify.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "base/size_text.hpp"
#include "library/entry_paths.hpp"
#include "library/file_move.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/silent_folders.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

/// From a staged capture of another process to its entry it takes no longer than this, also when it
/// was staged before this run began and waits for the library.
constexpr double filingSeconds = 60;

/// What was found, line by line, with what was done about it.
class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  void add(std::string_view kind, const std::string& path, bool isRepaired) {
    ++found_;
    if (isRepaired) ++repaired_;
    if (!json_) {
      text_ += fmt::format("{}\t{}{}\n", kind, inOneCell(path), isRepaired ? "\trepaired" : "");
      return;
    }
    json::Writer writer;
    writer.beginObject();
    writer.member("finding", kind);
    writer.member("path", path);
    writer.member("repaired", isRepaired);
    writer.endObject();
    text_ += writer.take() + "\n";
  }

  [[nodiscard]] CommandReply reply() const {
    CommandReply reply{ExitStatus::done, text_, {}};
    if (found_ == repaired_) return reply;
    reply.status = ExitStatus::failed;
    reply.error = fmt::format("{} found, {} repaired.\n", found_, repaired_);
    return reply;
  }

 private:
  bool json_;
  std::string text_;
  int found_ = 0;
  int repaired_ = 0;
};

/// What repairing came to.
struct Repaired {
  std::unordered_set<std::string> paths;      ///< that are in order now
  std::unordered_set<std::string> originals;  ///< lost ones that no entry names any more
  EntryList entries;                          ///< to be added
  EntryList goneStill;                        ///< to be forgotten

  /// The originals that are lost, with the entries that are to forget them.
  std::vector<std::pair<std::string, EntryPointer>> lostStill;
};

CommandReply report(const LibraryFindings& findings, const Repaired& repaired, bool json) {
  Report report(json);
  for (const EntryPointer& entry : findings.look.gone) {
    report.add("entry without file", entry->path, repaired.paths.contains(entry->path));
  }
  for (const SeenFile& file : findings.look.renamed) {
    const bool isShown = file.role == FileRole::shown;
    report.add(isShown ? "entry under another name" : "original under another name",
               file.path.string(), repaired.paths.contains(file.path.string()));
  }
  for (const EntryFile& file : findings.look.inDoubt) {
    report.add(file.role == FileRole::shown ? "entry in doubt" : "original in doubt", file.path(),
               false);
  }
  const std::unordered_set<EntryPointer> replaced(findings.look.replaced.begin(),
                                                  findings.look.replaced.end());
  for (const EntryPointer& entry : findings.look.outOfReach) {
    report.add(replaced.contains(entry) ? "entry of a replaced folder" : "entry out of reach",
               entry->path, false);
  }
  for (const EntryPointer& entry : findings.look.originalsOutOfReach) {
    report.add("original out of reach", *entry->originalPath, false);
  }
  for (const EntryPointer& entry : findings.damaged) {
    report.add("damaged picture", entry->path, false);
  }
  for (const LostOriginal& lost : findings.withoutOriginal) {
    const std::string& original = *lost.entry->originalPath;
    report.add(lost.isReplaced ? "original replaced" : "original gone", original,
               repaired.originals.contains(original));
  }
  const auto addAll = [&](std::string_view kind, const std::vector<Path>& paths) {
    for (const Path& path : paths) {
      report.add(kind, path.string(), repaired.paths.contains(path.string()));
    }
  };
  addAll("file without entry", findings.filesWithoutEntry);
  addAll("original without entry", findings.originalsWithoutEntry);
  addAll("original without entry", findings.originalsInDoubt);
  addAll("parked index", findings.parkedIndexes);
  addAll("temporary", findings.temporaries);
  addAll("staged capture", findings.stagedCaptures);
  for (const RelocationJournal::Pair& pair : findings.copiesLeft) {
    report.add("moved and still there", pair.oldPath, repaired.paths.contains(pair.oldPath));
  }
  addAll("replaced and still there", findings.replacedFilesLeft);
  addAll("journal", findings.journals);
  for (const Path& path : findings.clearedAtStart) {
    report.add("cleared at start", path.string(), true);
  }
  CommandReply reply = report.reply();
  reply.error.insert(0, silenceOf(findings.silentFolders));
  for (const Path& path : findings.notJudged) {
    reply.error +=
        fmt::format("{} may be work under way and is not judged yet.\n", inOneCell(path.string()));
  }
  return reply;
}

bool hasFileAt(const ScreenshotEntry& entry, const std::string& path) {
  return entry.path == path || entry.originalPath == path;
}

std::string sizeLine(std::size_t count, std::uint64_t bytes, bool json) {
  if (json) {
    json::Writer writer;
    writer.beginObject();
    writer.member("captures", static_cast<std::int64_t>(count));
    writer.member("bytes", static_cast<std::int64_t>(bytes));
    writer.endObject();
    return writer.take() + "\n";
  }
  return fmt::format("{} {}, {}\n", count, count == 1 ? "capture" : "captures", sizeText(bytes));
}

using Place = std::tuple<std::string_view, std::string_view, std::string_view>;

std::string_view nameOf(const ScreenshotEntry& entry) {
  return std::string_view(entry.path).substr(entry.path.rfind('/') + 1);
}

/// Where an entry's file is, by whatever names its folder is called. Views of the entry.
Place placeOf(const ScreenshotEntry& entry) {
  return {entry.fileIdentity->volume, entry.fileIdentity->folder, nameOf(entry)};
}

/// What was changed since it moved is nowhere else: that goes to the Trash. Answers what has gone.
std::vector<std::string> removeCopiesLeft(Files& files, Trash& trash, const LibraryPaths& paths,
                                          const std::vector<RelocationJournal::Pair>& copies) {
  std::vector<std::string> removed;
  std::map<std::string_view, std::optional<std::string_view>> places;  // by where they moved to
  for (const RelocationJournal::Pair& pair : copies) {
    const bool isSpare = holdsAllOf(files, pair.newPath, pair.oldPath);
    const bool hasGone = isSpare ? removeFile(files, pair.oldPath).has_value()
                                 : trash.moveToTrash(pair.oldPath).has_value();
    if (hasGone) removed.push_back(pair.oldPath);
    places[pair.newPath] = hasGone ? std::nullopt : std::optional<std::string_view>(pair.oldPath);
  }
  RelocationLeftovers left = RelocationLeftovers::read(files, paths);
  std::erase_if(left.copied, [&](const RelocationJournal::Pair& pair) {
    const auto place = places.find(pair.newPath);
    return place != places.end() && !place->second;
  });
  for (RelocationJournal::Pair& pair : left.copied) {
    if (const auto place = places.find(pair.newPath); place != places.end()) {
      pair.oldPath = *place->second;
    }
  }
  if (const auto written = left.write(files, paths); !written) {
    logWarning("History", "what was removed was not noted: {}", written.error().reason);
  }
  return removed;
}

}  // namespace

/// What is repaired, and for whom. On one runner after the other.
struct LibraryVerify::Repairing {
  LibraryFindings findings;
  Repaired repaired{};
  Claims claimed;  // main runner
  bool repairs = false;
  bool json = false;
  CommandDone done;
};

LibraryVerify::LibraryVerify(Services services)
    : services_(std::move(services)), startedAt_(services_.clock->now()) {}

void LibraryVerify::run(bool repairs, bool json, StopFlag stopped, ShowProgress show,
                        CommandDone done) {
  auto keepGoing = keepGoingUntil(std::move(stopped), std::move(show));
  // What is over may still have to take its journal away.
  auto begin = lifetime_.guard([this, repairs, json, keepGoing = std::move(keepGoing),
                                done = std::make_shared<CommandDone>(std::move(done))] {
    services_.library->deletion().settle(lifetime_.guard([this, repairs, json, keepGoing, done] {
      look(repairs, json, keepGoing, std::move(*done));
    }));
  });
  if (!repairs) return begin();
  services_.recoverStaged(std::move(begin));
}

CheckProgress LibraryVerify::keepGoingUntil(StopFlag stopped, ShowProgress show) {
  return [stopped = std::move(stopped), show = std::move(show)](std::size_t at, std::size_t total) {
    if (show && (at % 100 == 0 || at + 1 == total)) show({at + 1, total, "captures"});
    return !*stopped;
  };
}

void LibraryVerify::clearOriginals() {
  // An index that is missing or empty may yet be put back from a copy.
  const HistoryStore& store = services_.library->store();
  if (!store.indexWasReadFromDisk() || store.entries().empty()) return;
  services_.work->post(
      [files = services_.files, main = services_.main, scope = scope(),
       reply = lifetime_.guard([this](LibraryFindings& findings) {
         // In an undo they may be back before their entries are.
         if (services_.library->deletion().isBusy()) return;
         dropSettled(findings, {});
         Claims claimed;
         claimOriginals(findings, claimed);
         if (findings.originalsWithoutEntry.empty()) return;
         services_.work->post([trash = services_.trash, main = services_.main,
                               originals = std::move(findings.originalsWithoutEntry),
                               release = lifetime_.guard([claimed = std::move(claimed)]() mutable {
                                 claimed.clear();
                               })]() mutable {
           for (const Path& path : originals) {
             if (const auto moved = trash->moveToTrash(path); !moved) {
               logWarning("History", "{}: {}", path.string(), moved.error().reason);
             }
           }
           main->post(std::move(release));
         });
       })]() mutable {
        main->post([findings = checkOriginals(*files, scope), reply = std::move(reply)]() mutable {
          reply(findings);
        });
      });
}

LibraryScope LibraryVerify::scope() const {
  const HistoryStore& store = services_.library->store();
  LibraryScope scope{.entries = store.entries(),
                     .unreadPaths = store.unreadPaths(),
                     .indexWasRead = store.indexWasReadFromDisk(),
                     .paths = store.paths(),
                     .captureFolders = services_.captureFolders(),
                     .originals = store.paths().originals(),
                     .stagedBefore = services_.clock->now() - filingSeconds,
                     .begunBefore = startedAt_,
                     .filedPaths = services_.filedPaths};
  scope.isWholePicture = services_.isWholePicture;
  scope.leftovers = store.leftovers();
  scope.lookedAt = services_.clock->now();
  if (services_.library->deletion().isBusy()) {
    scope.journalsInUse.insert(store.paths().deletions());
  }
  if (services_.library->relocation().isRunning())
    scope.journalsInUse.insert(store.paths().relocationJournal());
  return scope;
}

void LibraryVerify::look(bool repairs, bool json, const CheckProgress& keepGoing,
                         CommandDone done) {
  services_.work->post(
      [files = services_.files, main = services_.main, scope = scope(), keepGoing,
       reply = lifetime_.guard(
           [this, repairs, json, done = std::move(done)](LibraryFindings& findings) mutable {
             if (findings.look.wasStopped) {
               return done(nothingChanged());
             }
             auto repairing = std::make_shared<Repairing>(std::move(findings), Repaired(), Claims(),
                                                          repairs, json, std::move(done));
             whenSettled([this, repairing](const std::set<Path>& staging) {
               dropSettled(repairing->findings, {});
               const auto isStaging = [&](const Path& path) { return staging.contains(path); };
               std::erase_if(repairing->findings.stagedCaptures, isStaging);
               std::erase_if(repairing->findings.notJudged, isStaging);
               lookAgain(repairing);
             });
           })]() mutable {
        main->post([findings = checkLibrary(*files, scope, keepGoing),
                    reply = std::move(reply)]() mutable { reply(findings); });
      });
}

/// Once files that an undo put back have their entries, and captures being staged are known.
void LibraryVerify::whenSettled(std::function<void(const std::set<Path>& staging)> go) {
  auto settle = lifetime_.guard([this, go = std::move(go)](const std::set<Path>& staging) {
    services_.library->deletion().settle(lifetime_.guard([go, staging] { go(staging); }));
  });
  if (!services_.whenStagingKnown) return settle(std::set<Path>());
  services_.whenStagingKnown(std::move(settle));
}

// In a long look an entry may have gone and come back, and its files have been moved and changed,
// without a trace. What is a fault is one still while nobody changes anything.
void LibraryVerify::lookAgain(const std::shared_ptr<Repairing>& repairing) {
  const bool wasQuiet = isQuiet();
  if (repairing->repairs) {
    claimOriginals(repairing->findings, repairing->claimed);
    claimFaulty(repairing->findings, repairing->claimed);
  }
  services_.work->post(
      [files = services_.files, main = services_.main, scope = scope(), repairing,
       reply = lifetime_.guard(
           [this, repairing, wasQuiet, before = services_.library->store().writeSequence()] {
             judge(repairing,
                   wasQuiet && isQuiet() && before == services_.library->store().writeSequence());
           })]() mutable {
        checkAgain(*files, scope, repairing->findings);
        main->post(std::move(reply));
      });
}

void LibraryVerify::judge(const std::shared_ptr<Repairing>& repairing, bool wasQuiet) {
  LibraryFindings& findings = repairing->findings;
  dropSettled(findings, repairing->claimed);
  if (!wasQuiet) {
    for (const EntryPointer& entry : findings.look.gone) findings.notJudged.push_back(entry->path);
    for (const LostOriginal& lost : findings.withoutOriginal) {
      findings.notJudged.push_back(*lost.entry->originalPath);
    }
    findings.look.gone.clear();
    findings.withoutOriginal.clear();
    for (auto* const list :
         {&findings.filesWithoutEntry, &findings.originalsWithoutEntry, &findings.journals}) {
      std::ranges::move(*list, std::back_inserter(findings.notJudged));
      list->clear();
    }
  }
  if (!repairing->repairs) return finish(repairing);
  repair(repairing);
}

/// Whether no files of entries are on their way anywhere.
bool LibraryVerify::isQuiet() const {
  return !services_.library->deletion().isBusy() && !services_.library->relocation().isRunning();
}

// How large the library is comes last: what is found comes before it, a line each.
void LibraryVerify::finish(const std::shared_ptr<Repairing>& repairing) {
  services_.work->post([repairing, main = services_.main,
                        reply = lifetime_.guard([this, repairing](CommandReply& found) {
                          measure(std::move(found), repairing->json, std::move(repairing->done));
                        })]() mutable {
    main->post([found = report(repairing->findings, repairing->repaired, repairing->json),
                reply = std::move(reply)]() mutable { reply(found); });
  });
}

void LibraryVerify::measure(CommandReply reply, bool json, CommandDone done) {
  services_.library->disk().whenMeasured(lifetime_.guard(
      [this, json, reply = std::move(reply), done = std::move(done)](std::uint64_t bytes) mutable {
        reply.output += sizeLine(services_.library->store().entries().size(), bytes, json);
        done(std::move(reply));
      }));
}

// What got its entry, its file or another place while the library was looked through is in order.
void LibraryVerify::dropSettled(LibraryFindings& findings, const Claims& claimed) const {
  const HistoryStore& store = services_.library->store();
  const auto isOther = [&](const EntryPointer& entry) {
    return claimed.contains(entry->id) ? store.find(entry->id) != entry
                                       : settledEntries(store, {entry}).empty();
  };
  std::erase_if(findings.look.gone, isOther);
  std::erase_if(findings.look.outOfReach, isOther);
  std::erase_if(findings.look.renamed, [&](const SeenFile& file) { return isOther(file.entry); });
  std::erase_if(findings.damaged, isOther);
  std::erase_if(findings.withoutOriginal,
                [&](const LostOriginal& lost) { return isOther(lost.entry); });
  std::unordered_map<std::string_view, bool> isNamed;
  const std::array lists{&findings.filesWithoutEntry, &findings.originalsWithoutEntry,
                         &findings.originalsInDoubt, &findings.stagedCaptures};
  for (const auto* const list : lists) {
    for (const Path& path : *list) isNamed.emplace(path.native(), false);
  }
  if (isNamed.empty()) return;
  const auto note = [&](const ScreenshotEntry& entry) {
    forEachPath(entry, [&](const std::string& path) {
      if (const auto found = isNamed.find(path); found != isNamed.end()) found->second = true;
    });
  };
  for (const EntryPointer& entry : services_.library->store().entries()) note(*entry);
  if (const auto& pending = services_.library->deletion().pendingUndo()) {
    for (const RemovedEntry& removed : pending->items) note(*removed.entry);
  }
  // The keys lie in the lists.
  std::unordered_set<std::string> named;
  for (const auto& [path, isOne] : isNamed) {
    if (isOne) named.emplace(path);
  }
  if (named.empty()) return;
  for (auto* const list : lists) {
    std::erase_if(*list, [&](const Path& path) { return named.contains(path.native()); });
  }
}

// An original that is linked keeps its age, so that it looks like a leftover until the rewrite is
// done and its entry names it.
void LibraryVerify::claimOriginals(LibraryFindings& findings, Claims& claimed) const {
  std::erase_if(findings.originalsWithoutEntry, [&](const Path& path) {
    const std::string id = path.stem().string();
    return services_.library->store().find(id) && !claim(id, claimed);
  });
}

/// Holds what is to be forgotten, or is to forget its original, until that is done.
void LibraryVerify::claimFaulty(LibraryFindings& findings, Claims& claimed) const {
  std::erase_if(findings.look.gone, [&](const EntryPointer& entry) {
    if (claim(entry->id, claimed)) return false;
    findings.notJudged.emplace_back(entry->path);
    return true;
  });
  std::erase_if(findings.withoutOriginal, [&](const LostOriginal& lost) {
    if (claim(lost.entry->id, claimed)) return false;
    findings.notJudged.emplace_back(*lost.entry->originalPath);
    return true;
  });
}

bool LibraryVerify::claim(const std::string& id, Claims& claimed) const {
  if (claimed.contains(id)) return true;
  auto claim = services_.library->claim(id, EntryWork::rewriting);
  if (!claim) return false;
  claimed.emplace(id, *std::move(claim));
  return true;
}

// Parked indexes, journals and entries out of reach stay: somebody may still need them.
void LibraryVerify::repair(const std::shared_ptr<Repairing>& repairing) {
  std::set<std::string> ours;
  for (const auto& [id, claim] : repairing->claimed) ours.insert(id);
  const AdoptedLook adopted =
      adoptNames(services_.library->store(), repairing->findings.look, ours);
  std::vector<std::pair<std::string, EntryPointer>> lost;
  for (const LostOriginal& one : repairing->findings.withoutOriginal) {
    const EntryPointer entry = services_.library->store().find(one.entry->id);
    if (entry && entry->originalPath) lost.emplace_back(*one.entry->originalPath, entry);
  }
  services_.work->post(
      [files = services_.files, codec = services_.codec, trash = services_.trash,
       main = services_.main, repairing, gone = adopted.gone, lost = std::move(lost),
       paths = services_.library->paths(),
       mayRemoveCopies = !services_.library->relocation().isRunning(),
       learn = lifetime_.guard([this](const std::vector<SeenFile>& files) {
         remember(services_.library->store(), files);
       }),
       reply = lifetime_.guard([this, repairing] { adopt(repairing); })]() mutable {
        Repaired& repaired = repairing->repaired;
        const LibraryFindings& findings = repairing->findings;
        for (const Path& path : findings.temporaries) {
          if (files->remove(path)) repaired.paths.insert(path.string());
        }
        for (const Path& path : findings.originalsWithoutEntry) {
          if (trash->moveToTrash(path)) repaired.paths.insert(path.string());
        }
        for (const Path& path : findings.filesWithoutEntry) {
          auto entry = entryForFile(*files, *codec, path);
          if (!entry) continue;
          repaired.entries.push_back(std::make_shared<const ScreenshotEntry>(*std::move(entry)));
        }
        for (const Path& path : findings.replacedFilesLeft) {
          if (trash->moveToTrash(path)) repaired.paths.insert(path.string());
        }
        if (mayRemoveCopies && !findings.copiesLeft.empty()) {
          for (std::string& path : removeCopiesLeft(*files, *trash, paths, findings.copiesLeft)) {
            repaired.paths.insert(std::move(path));
          }
        }
        repaired.goneStill = goneOf(*files, gone);
        for (auto& [path, entry] : lost) {
          if (placeOfOriginal(*files, *entry) == OriginalPlace::original) continue;
          repaired.lostStill.emplace_back(path, std::move(entry));
        }
        postInSlices(main, findings.look.learned, std::move(learn), std::move(reply));
      });
}

/// Gives the files that have none their entries.
void LibraryVerify::adopt(const std::shared_ptr<Repairing>& repairing) {
  const EntryList& found = repairing->repaired.entries;
  const auto add = [this, repairing, &found](std::size_t begin, std::size_t end) {
    HistoryStore& store = services_.library->store();
    // Some may have been filed since, under another name of their folder.
    std::unordered_set<std::string_view> names;
    for (std::size_t i = begin; i < end; ++i) names.insert(nameOf(*found[i]));
    std::set<Place> taken;
    for (const EntryPointer& entry : store.entries()) {
      if (entry->fileIdentity && names.contains(nameOf(*entry))) taken.insert(placeOf(*entry));
    }
    std::vector<PlacedEntry> added;
    for (std::size_t i = begin; i < end; ++i) {
      repairing->repaired.paths.insert(found[i]->path);
      const bool isFiled = store.findByPath(found[i]->path) ||
                           (found[i]->fileIdentity && taken.contains(placeOf(*found[i])));
      if (!isFiled) added.push_back({store.entries().size(), found[i]});
    }
    store.insertEntries(std::move(added));
  };
  inSlices(services_.main, found.size(), lifetime_.guard(add),
           lifetime_.guard([this, repairing] { clearUp(repairing); }));
}

/// Takes away what names nothing.
void LibraryVerify::clearUp(const std::shared_ptr<Repairing>& repairing) {
  HistoryStore& store = services_.library->store();
  Repaired& repaired = repairing->repaired;
  for (const auto& [found, lost] : repaired.lostStill) {
    const EntryPointer entry = store.find(lost->id);
    const bool isSame = entry && entry->originalPath == lost->originalPath &&
                        entry->originalIdentity == lost->originalIdentity;
    if (!isSame) continue;
    const auto cleared = store.update(lost->id, [](ScreenshotEntry& changed) {
      changed.originalPath = std::nullopt;
      changed.originalIdentity.reset();
    });
    if (cleared) repaired.originals.insert(found);
  }
  repairing->claimed.clear();
  // As it was told: an entry whose name another one's file has got another name.
  std::unordered_map<std::string_view, std::string_view> reported;
  for (const EntryPointer& entry : repairing->findings.look.gone) {
    reported.emplace(entry->id, entry->path);
  }
  std::vector<std::string> going;
  for (const EntryPointer& entry : settledEntries(store, repaired.goneStill)) {
    going.push_back(entry->id);
    repaired.paths.emplace(reported.at(entry->id));
  }
  for (const SeenFile& file : repairing->findings.look.renamed) {
    const EntryPointer entry = store.find(file.entry->id);
    if (entry && hasFileAt(*entry, file.path.string())) repaired.paths.insert(file.path.string());
  }
  // Writes the new entries as well.
  services_.library->deletion().forget(going, [this, repairing](const Result<std::size_t>& saved) {
    if (saved) return finish(repairing);
    repairing->done(failedReply("The library's index could not be saved: " + saved.error().reason));
  });
}

}  // namespace vantorel
