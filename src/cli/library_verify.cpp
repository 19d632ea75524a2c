#include "cli/library_verify.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "base/size_text.hpp"
#include "library/entry_paths.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/silent_folders.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

/// From a capture's file to its entry it takes no longer than this.
constexpr double filingSeconds = 60;

/// What was found, line by line, with what was done about it.
class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  void add(std::string_view kind, const std::string& path, bool isMended) {
    ++found_;
    if (isMended) ++mended_;
    if (!json_) {
      text_ += fmt::format("{}\t{}{}\n", kind, inOneCell(path), isMended ? "\tmended" : "");
      return;
    }
    json::Writer writer;
    writer.beginObject();
    writer.member("finding", kind);
    writer.member("path", path);
    writer.member("mended", isMended);
    writer.endObject();
    text_ += writer.take() + "\n";
  }

  [[nodiscard]] CommandReply reply() const {
    CommandReply reply{ExitStatus::done, text_, {}};
    if (found_ == mended_) return reply;
    reply.status = ExitStatus::failed;
    reply.error = fmt::format("{} found, {} mended.\n", found_, mended_);
    return reply;
  }

 private:
  bool json_;
  std::string text_;
  int found_ = 0;
  int mended_ = 0;
};

/// What mending came to.
struct Mended {
  std::unordered_set<std::string> paths;  ///< that are in order now
  EntryList entries;                      ///< to be added
  EntryList goneStill;                    ///< to be forgotten
};

CommandReply report(const LibraryFindings& findings, const Mended& mended, bool json) {
  Report report(json);
  for (const EntryPointer& entry : findings.look.gone) {
    report.add("entry without file", entry->path, mended.paths.contains(entry->path));
  }
  for (const SeenFile& file : findings.look.renamed) {
    report.add("entry under another name", file.path.string(),
               mended.paths.contains(file.path.string()));
  }
  for (const EntryPointer& entry : findings.look.outOfReach) {
    report.add("entry out of reach", entry->path, false);
  }
  for (const EntryPointer& entry : findings.damaged) {
    report.add("damaged picture", entry->path, false);
  }
  for (const EntryPointer& entry : findings.withoutOriginal) {
    const std::string& original = *entry->originalPath;
    report.add("original gone", original, mended.paths.contains(original));
  }
  const auto addAll = [&](std::string_view kind, const std::vector<Path>& paths) {
    for (const Path& path : paths) {
      report.add(kind, path.string(), mended.paths.contains(path.string()));
    }
  };
  addAll("file without entry", findings.filesWithoutEntry);
  addAll("original without entry", findings.originalsWithoutEntry);
  addAll("original without entry", findings.originalsInDoubt);
  addAll("parked index", findings.parkedIndexes);
  addAll("temporary", findings.temporaries);
  addAll("staged capture", findings.stagedCaptures);
  addAll("journal", findings.journals);
  for (const Path& path : findings.clearedAtStart) {
    report.add("cleared at start", path.string(), true);
  }
  CommandReply reply = report.reply();
  reply.error.insert(0, silenceOf(findings.silentFolders));
  return reply;
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

}  // namespace

/// What is mended, and for whom. On one runner after the other.
struct LibraryVerify::Mending {
  LibraryFindings findings;
  Mended mended{};
  std::vector<EntryClaim> claimed;  // main runner
  bool json = false;
  CommandDone done;
};

LibraryVerify::LibraryVerify(Services services)
    : services_(std::move(services)), startedAt_(services_.clock->now()) {}

void LibraryVerify::run(bool repairs, bool json, StopFlag stopped, ShowProgress show,
                        CommandDone done) {
  auto goOn = goingOn(std::move(stopped), std::move(show));
  // What is over may still have to take its journal away.
  auto begin = alive_.guard([this, repairs, json, goOn = std::move(goOn),
                             done = std::make_shared<CommandDone>(std::move(done))] {
    services_.library->deletion().settle(alive_.guard(
        [this, repairs, json, goOn, done] { look(repairs, json, goOn, std::move(*done)); }));
  });
  if (!repairs) return begin();
  services_.recoverStaged(std::move(begin));
}

CheckProgress LibraryVerify::goingOn(StopFlag stopped, ShowProgress show) {
  return [stopped = std::move(stopped), show = std::move(show)](std::size_t at, std::size_t total) {
    if (show && (at % 100 == 0 || at + 1 == total)) show({at + 1, total, "captures"});
    return !*stopped;
  };
}

void LibraryVerify::clearOriginals() {
  services_.work->post(
      [files = services_.files, main = services_.main, scope = scope(),
       reply = alive_.guard([this](LibraryFindings& findings) {
         dropSettled(findings);
         auto claimed = claimOriginals(findings);
         if (findings.originalsWithoutEntry.empty()) return;
         services_.work->post([trash = services_.trash, main = services_.main,
                               originals = std::move(findings.originalsWithoutEntry),
                               release = alive_.guard([claimed = std::move(claimed)]() mutable {
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
                     .filedBefore = std::max(startedAt_, services_.clock->now() - filingSeconds),
                     .begunBefore = startedAt_};
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

void LibraryVerify::look(bool repairs, bool json, const CheckProgress& goOn, CommandDone done) {
  services_.work->post([files = services_.files, main = services_.main, scope = scope(), goOn,
                        reply = alive_.guard([this, repairs, json, done = std::move(done)](
                                                 LibraryFindings& findings) mutable {
                          if (findings.look.wasStopped) {
                            return done(nothingChanged());
                          }
                          dropSettled(findings);
                          auto claimed = claimOriginals(findings);
                          auto mending =
                              std::make_shared<Mending>(std::move(findings), Mended(),
                                                        std::move(claimed), json, std::move(done));
                          if (repairs) return mend(mending);
                          mending->claimed.clear();
                          finish(mending);
                        })]() mutable {
    main->post([findings = checkLibrary(*files, scope, goOn), reply = std::move(reply)]() mutable {
      reply(findings);
    });
  });
}

// How large the library is comes last: what is found comes before it, a line each.
void LibraryVerify::finish(const std::shared_ptr<Mending>& mending) {
  services_.work->post(
      [mending, main = services_.main, reply = alive_.guard([this, mending](CommandReply& found) {
        measure(std::move(found), mending->json, std::move(mending->done));
      })]() mutable {
        main->post([found = report(mending->findings, mending->mended, mending->json),
                    reply = std::move(reply)]() mutable { reply(found); });
      });
}

void LibraryVerify::measure(CommandReply reply, bool json, CommandDone done) {
  services_.library->disk().whenMeasured(alive_.guard(
      [this, json, reply = std::move(reply), done = std::move(done)](std::uint64_t bytes) mutable {
        reply.output += sizeLine(services_.library->store().entries().size(), bytes, json);
        done(std::move(reply));
      }));
}

// What got its entry, its file or another place while the library was looked through is in order.
void LibraryVerify::dropSettled(LibraryFindings& findings) const {
  findings.look.gone = settledEntries(services_.library->store(), findings.look.gone);
  std::erase_if(findings.look.renamed, [this](const SeenFile& file) {
    return settledEntries(services_.library->store(), {file.entry}).empty();
  });
  findings.damaged = settledEntries(services_.library->store(), findings.damaged);
  findings.withoutOriginal = settledEntries(services_.library->store(), findings.withoutOriginal);
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
std::vector<EntryClaim> LibraryVerify::claimOriginals(LibraryFindings& findings) const {
  std::vector<EntryClaim> claimed;
  std::erase_if(findings.originalsWithoutEntry, [&](const Path& path) {
    const std::string id = path.stem().string();
    if (!services_.library->store().find(id)) return false;
    auto claim = services_.library->claim(id, EntryWork::rewriting);
    if (!claim) return true;
    claimed.push_back(*std::move(claim));
    return false;
  });
  return claimed;
}

// Parked indexes, journals and entries out of reach stay: somebody may still need them.
void LibraryVerify::mend(const std::shared_ptr<Mending>& mending) {
  const AdoptedLook adopted = adoptNames(services_.library->store(), mending->findings.look);
  services_.work->post([files = services_.files, codec = services_.codec, trash = services_.trash,
                        main = services_.main, mending, gone = adopted.gone,
                        learn = alive_.guard([this](const std::vector<SeenFile>& files) {
                          remember(services_.library->store(), files);
                        }),
                        reply = alive_.guard([this, mending] { adopt(mending); })]() mutable {
    Mended& mended = mending->mended;
    const LibraryFindings& findings = mending->findings;
    for (const Path& path : findings.temporaries) {
      if (files->remove(path)) mended.paths.insert(path.string());
    }
    for (const Path& path : findings.originalsWithoutEntry) {
      if (trash->moveToTrash(path)) mended.paths.insert(path.string());
    }
    for (const Path& path : findings.filesWithoutEntry) {
      auto entry = entryForFile(*files, *codec, path);
      if (!entry) continue;
      mended.entries.push_back(std::make_shared<const ScreenshotEntry>(*std::move(entry)));
    }
    mended.goneStill = goneOf(*files, gone);
    postInSlices(main, findings.look.learned, std::move(learn), std::move(reply));
  });
}

/// Gives the files that have none their entries.
void LibraryVerify::adopt(const std::shared_ptr<Mending>& mending) {
  mending->claimed.clear();
  const EntryList& found = mending->mended.entries;
  const auto add = [this, mending, &found](std::size_t begin, std::size_t end) {
    HistoryStore& store = services_.library->store();
    std::vector<PlacedEntry> added;
    for (std::size_t i = begin; i < end; ++i) {
      mending->mended.paths.insert(found[i]->path);
      if (!store.findByPath(found[i]->path)) added.push_back({store.entries().size(), found[i]});
    }
    store.insertEntries(std::move(added));
  };
  inSlices(services_.main, found.size(), alive_.guard(add),
           alive_.guard([this, mending] { clearUp(mending); }));
}

/// Takes away what names nothing.
void LibraryVerify::clearUp(const std::shared_ptr<Mending>& mending) {
  HistoryStore& store = services_.library->store();
  Mended& mended = mending->mended;
  for (const EntryPointer& entry : settledEntries(store, mending->findings.withoutOriginal)) {
    const auto cleared = store.update(
        entry->id, [](ScreenshotEntry& changed) { changed.originalPath = std::nullopt; });
    if (cleared) mended.paths.insert(*entry->originalPath);
  }
  std::vector<std::string> going;
  for (const EntryPointer& entry : settledEntries(store, mended.goneStill)) {
    going.push_back(entry->id);
    // As it was told: an entry whose name another one's file has got another name.
    const auto named =
        std::ranges::find(mending->findings.look.gone, entry->id, &ScreenshotEntry::id);
    mended.paths.insert((*named)->path);
  }
  for (const SeenFile& file : mending->findings.look.renamed) {
    if (store.findByPath(file.path.string())) mended.paths.insert(file.path.string());
  }
  // Writes the new entries as well.
  services_.library->deletion().forget(going, [this, mending](const Result<std::size_t>& saved) {
    if (saved) return finish(mending);
    mending->done(failedReply("The library's index could not be saved: " + saved.error().reason));
  });
}

}  // namespace vantorel
