#include "app/history_actions.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/check.hpp"
#include "base/round_trip.hpp"
#include "capture/kept_redaction.hpp"
#include "editor/capture_text.hpp"
#include "editor/entry_document.hpp"
#include "library/entry_changes.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_filter.hpp"
#include "library/entry_title.hpp"

namespace vantorel {
namespace {

using Kind = HistoryNotice::Kind;

bool needsFile(HistoryAction action) {
  using enum HistoryAction;
  switch (action) {
    case annotate:
    case pin:
    case open:
    case copyPicture:
    case saveAs:
    case convert:
    case compress:
    case removeRedaction:
    case reapplyRedaction:
    case reveal:
    case dragOut:
    case trash: return true;
    case rename:
    case star:
    case collect:
    case copyPath:
    case copyText:
    case remove: return false;
  }
  std::unreachable();
}

bool changesLibrary(HistoryAction action) {
  using enum HistoryAction;
  return action != annotate && action != pin && action != open && action != copyPicture &&
         action != copyPath && action != copyText && action != saveAs && action != reveal &&
         action != dragOut;
}

bool isForOne(HistoryAction action) {
  using enum HistoryAction;
  return action == open || action == rename || action == copyPicture || action == saveAs;
}

bool isForPictures(HistoryAction action) {
  using enum HistoryAction;
  return action == annotate || action == pin || action == copyPicture || action == saveAs ||
         action == convert || action == compress || action == removeRedaction ||
         action == reapplyRedaction;
}

std::string closed(std::string text) {
  if (!text.ends_with('.')) text += '.';
  return text;
}

/// What of a capture keeps an action from it.
enum class Hindrance {
  noPicture,
  noText,
  notCovered,    // by Smart Redact, before it was filed
  notUncovered,  // since
  fileGone,
  folderReplaced,
  away,
  redacted,
  withinReach
};

std::optional<Hindrance> hindranceOf(
    HistoryAction action, const ScreenshotEntry& entry, const LibraryPaths& paths,
    const std::function<FileReach(const ScreenshotEntry&)>& reachOf) {
  if (isForPictures(action) && entry.medium != CaptureMedium::image) return Hindrance::noPicture;
  if (action == HistoryAction::copyText) {
    std::string room;
    if (captureTextIn(entry, room).empty()) return Hindrance::noText;
  }
  const bool uncovers = action == HistoryAction::removeRedaction;
  if (uncovers || action == HistoryAction::reapplyRedaction) {
    const auto kept = keptRedaction(entry, paths);
    if (!kept || kept->isCovering != uncovers) {
      return uncovers ? Hindrance::notCovered : Hindrance::notUncovered;
    }
  }
  if (needsFile(action)) {
    switch (reachOf(entry)) {
      case FileReach::there: break;
      case FileReach::fileGone: return Hindrance::fileGone;
      case FileReach::folderReplaced: return Hindrance::folderReplaced;
      default: return Hindrance::away;
    }
  }
  // Their files show what is covered.
  const bool handsFileOut = action == HistoryAction::dragOut || action == HistoryAction::open;
  if (handsFileOut && isRedacted(entry)) return Hindrance::redacted;
  if (action == HistoryAction::remove && reachOf(entry) == FileReach::there) {
    return Hindrance::withinReach;
  }
  return std::nullopt;
}

/// "they are out of reach", without its subject.
const char* clauseOf(Hindrance hindrance, bool isOne) {
  switch (hindrance) {
    case Hindrance::noPicture: return isOne ? "is no picture" : "are no pictures";
    case Hindrance::noText: return isOne ? "has no text" : "have no text";
    case Hindrance::notCovered:
      return isOne ? "has nothing covered by Smart Redact" : "have nothing covered by Smart Redact";
    case Hindrance::notUncovered:
      return isOne ? "has no redactions removed" : "have no redactions removed";
    case Hindrance::fileGone: return isOne ? "has lost its file" : "have lost their files";
    case Hindrance::folderReplaced:
    case Hindrance::away: return isOne ? "is out of reach" : "are out of reach";
    case Hindrance::redacted: return isOne ? "is redacted" : "are redacted";
    case Hindrance::withinReach: return isOne ? "is within reach" : "are within reach";
  }
  std::unreachable();
}

/// "they are out of reach", "2 are out of reach, 1 is redacted".
std::string clauseOf(const std::vector<Hindrance>& hindrances) {
  std::vector<std::pair<const char*, std::size_t>> groups;  // by the words for several
  for (const Hindrance one : hindrances) {
    const char* const words = clauseOf(one, false);
    const auto known = std::ranges::find(groups, std::string_view(words), [](const auto& group) {
      return std::string_view(group.first);
    });
    if (known == groups.end()) {
      groups.emplace_back(words, 1);
    } else {
      ++known->second;
    }
  }
  const bool isOne = hindrances.size() == 1;
  if (groups.size() == 1) {
    return fmt::format("{} {}", isOne ? "it" : "they", clauseOf(hindrances.front(), isOne));
  }
  std::string text;
  for (const auto& [words, count] : groups) {
    const auto first = std::ranges::find_if(
        hindrances, [&](Hindrance one) { return std::string_view(clauseOf(one, false)) == words; });
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, clauseOf(*first, count == 1));
  }
  return text;
}

/// Why nothing can be done with the only one.
std::string sentenceOf(Hindrance hindrance, HistoryAction action, FileReach reach) {
  switch (hindrance) {
    case Hindrance::noPicture: return "This is for pictures only.";
    case Hindrance::noText: return "No text has been read on it.";
    case Hindrance::notCovered: return "Smart Redact covered nothing in it before it was filed.";
    case Hindrance::notUncovered: return "No redactions of Smart Redact were removed from it.";
    case Hindrance::fileGone:
      return "Its file is gone. Use Remove from History to take it out of Vantorel.";
    case Hindrance::folderReplaced:
      return "Its folder is another one of that name now. Use Remove from History to take it out "
             "of Vantorel.";
    case Hindrance::away: {
      std::string text(sentence(reach));
      if (text.front() >= 'a' && text.front() <= 'z') text.front() -= 'a' - 'A';
      return closed(std::move(text));
    }
    case Hindrance::redacted:
      return action == HistoryAction::open
                 ? "The file of a redacted capture shows what is covered. Space shows the picture "
                   "here."
                 : "The file of a redacted capture shows what is covered. Copy the picture "
                   "instead.";
    case Hindrance::withinReach: return "The file can be reached: move the capture to the Trash.";
  }
  std::unreachable();
}

/// Why nothing can be done with any of several.
std::string sentenceOf(const std::vector<Hindrance>& hindrances, HistoryAction action) {
  const auto areAll = [&](Hindrance one) {
    return std::ranges::all_of(hindrances, [one](Hindrance other) { return other == one; });
  };
  if (areAll(Hindrance::fileGone)) {
    return "Their files are gone. Use Remove from History to take them out of Vantorel.";
  }
  if (areAll(Hindrance::withinReach)) {
    return "The files can be reached: move the captures to the Trash.";
  }
  if (areAll(Hindrance::noText)) return "No text has been read on them.";
  for (const Hindrance one : {Hindrance::noPicture, Hindrance::redacted}) {
    if (areAll(one)) return sentenceOf(one, action, FileReach::there);
  }
  std::string text = clauseOf(hindrances);
  if (text.starts_with("they")) return "T" + text.substr(1) + ".";
  return "This works with none of them: " + text + ".";
}

std::string counted(std::size_t count) {
  return fmt::format("{} {}", count, count == 1 ? "capture" : "captures");
}

std::string nameOf(const EntryList& entries, const std::string& id) {
  const auto found =
      std::ranges::find_if(entries, [&](const EntryPointer& entry) { return entry->id == id; });
  return found == entries.end() ? "A capture" : "“" + titleOf(**found) + "”";
}

std::vector<NamedPicture> picturesOf(const EntryList& entries) {
  std::vector<NamedPicture> pictures;
  for (const EntryPointer& entry : entries) pictures.push_back({.capture = entry->id});
  return pictures;
}

}  // namespace

HistoryActions::HistoryActions(Services services, std::function<void(HistoryNotice)> say,
                               std::function<void()> onProgress, std::function<void()> onSaved)
    : services_(std::move(services)),
      say_(std::move(say)),
      onProgress_(std::move(onProgress)),
      onSaved_(std::move(onSaved)) {
  VT_CHECK(services_.files != nullptr);
}

std::optional<std::string> HistoryActions::obstacle(HistoryAction action,
                                                    const EntryList& entries) const {
  if (entries.empty()) return "No capture is selected.";
  if (changesLibrary(action)) {
    if (auto refusal = services_.library.store().indexRefusal()) {
      return sentence(EntryFailure{EntryFailure::Case::libraryClosed, *std::move(refusal)});
    }
  }
  if (isForOne(action) && entries.size() > 1) return "This takes one capture at a time.";
  using enum HistoryAction;
  const bool isRewriting = action == convert || action == compress || action == removeRedaction ||
                           action == reapplyRedaction;
  if (isRewriting && progress_) return "Pictures are being changed already.";
  std::vector<Hindrance> hindrances;
  for (const EntryPointer& entry : entries) {
    const auto hindrance =
        hindranceOf(action, *entry, services_.library.paths(), services_.reachOf);
    if (!hindrance) return std::nullopt;
    hindrances.push_back(*hindrance);
  }
  return entries.size() == 1
             ? sentenceOf(hindrances.front(), action, services_.reachOf(*entries.front()))
             : sentenceOf(hindrances, action);
}

HistoryShare HistoryActions::share(HistoryAction action, const EntryList& entries) const {
  HistoryShare share;
  EntryPointer left;
  std::vector<Hindrance> hindrances;
  for (const EntryPointer& entry : entries) {
    const auto hindrance =
        hindranceOf(action, *entry, services_.library.paths(), services_.reachOf);
    if (!hindrance) {
      share.entries.push_back(entry);
      continue;
    }
    left = entry;
    hindrances.push_back(*hindrance);
  }
  if (hindrances.empty()) return share;
  share.leftOut = hindrances.size() == 1
                      ? fmt::format("“{}” is left out: {}.", titleOf(*left), clauseOf(hindrances))
                      : fmt::format("{} of {} are left out: {}.", hindrances.size(), entries.size(),
                                    clauseOf(hindrances));
  return share;
}

/// What the action is done with; what is said of the others is said.
EntryList HistoryActions::take(HistoryAction action, const EntryList& entries) {
  HistoryShare share = this->share(action, entries);
  if (!share.leftOut.empty()) {
    say_({.text = std::move(share.leftOut), .kind = Kind::refusal});
  }
  return std::move(share.entries);
}

void HistoryActions::sayUnsaved(const std::string& reason) {
  say_({.text = closed("History couldn’t be saved: " + reason),
        .detail = "Your captures are safe on disk.",
        .kind = Kind::state,
        .canRetrySaving = true});
}

void HistoryActions::sayFailures(const std::vector<TrashSweep::Failure>& failures,
                                 const EntryList& entries, const std::string& leftOut) {
  if (failures.empty()) return;
  const TrashSweep::Failure& first = failures.front();
  HistoryNotice notice{.text = closed(nameOf(entries, first.id) + ": " + first.reason)};
  if (failures.size() > 1) {
    notice.detail = failures.size() == 2
                        ? "The same or something like it holds for another capture."
                        : fmt::format("The same or something like it holds for {} others.",
                                      failures.size() - 1);
  }
  if (!leftOut.empty()) notice.detail += (notice.detail.empty() ? "" : " ") + leftOut;
  say_(std::move(notice));
}

void HistoryActions::change(const EntryList& entries,
                            const std::function<Result<void>(const std::string& id)>& change) {
  changeEntries(services_.library.store(), entries, change,
                lifetime_.guard([this](const Result<ChangeReport>& report) {
                  if (!report) {
                    say_({.text = sentence(EntryFailure{EntryFailure::Case::unchangeable,
                                                        report.error().reason})});
                  } else if (report->indexNotSaved) {
                    sayUnsaved(*report->indexNotSaved);
                  } else {
                    onSaved_();
                  }
                }));
}

void HistoryActions::rename(const EntryPointer& entry, const std::string& title) {
  change({entry}, [&](const std::string& id) {
    return services_.library.store().update(
        id, [&](ScreenshotEntry& changed) { changed.title = titleFrom(title); });
  });
}

void HistoryActions::star(const EntryList& entries, bool isStarred) {
  change(entries, [&](const std::string& id) {
    return services_.library.store().update(
        id, [&](ScreenshotEntry& entry) { entry.starred = isStarred; });
  });
}

void HistoryActions::collect(const EntryList& entries, const std::string& collectionID,
                             bool isMember) {
  change(entries, [&](const std::string& id) {
    return services_.library.store().setMembership(id, collectionID, isMember);
  });
}

/// Calls `then` with the entries under the paths that their files have by now.
void HistoryActions::withFiles(const EntryList& entries, Found then) {
  const std::vector<std::string> ids = idsOf(entries);
  services_.library.findFiles(
      ids, Library::Claimed::no, *services_.work,
      lifetime_.guard([this, ids, then = std::move(then)](const std::set<std::string>& unsettled) {
        if (std::ranges::any_of(ids, [&](const auto& id) { return unsettled.contains(id); })) {
          return say_({.text = sentence(EntryFailure{EntryFailure::Case::unsettled})});
        }
        then(findEntries(services_.library.store(), ids));
      }));
}

void HistoryActions::annotate(const EntryList& entries) {
  const EntryList taken = take(HistoryAction::annotate, entries);
  if (taken.empty()) return;
  services_.annotate(picturesOf(taken), lifetime_.guard([this, taken](const auto& unopened) {
    sayUnopened(taken, unopened);
  }));
}

void HistoryActions::pin(const EntryList& entries) {
  const EntryList taken = take(HistoryAction::pin, entries);
  if (taken.empty()) return;
  services_.pin(picturesOf(taken), lifetime_.guard([this, taken](const auto& unopened) {
    sayUnopened(taken, unopened);
  }));
}

void HistoryActions::sayUnopened(const EntryList& asked,
                                 const std::vector<UnopenedPicture>& unopened) {
  std::string text;
  for (const UnopenedPicture& one : unopened) {
    text += fmt::format("{}{}: {}", text.empty() ? "" : " ", nameOf(asked, one.picture.capture),
                        one.why);
  }
  if (!text.empty()) say_({.text = std::move(text), .kind = Kind::refusal});
}

void HistoryActions::open(const EntryPointer& entry) {
  withFiles({entry}, [this](const EntryList& found) {
    if (!found.empty()) services_.open(found.front()->path);
  });
}

void HistoryActions::reveal(const EntryList& entries) {
  withFiles(take(HistoryAction::reveal, entries), [this](const EntryList& found) {
    std::vector<Path> paths;
    for (const EntryPointer& entry : found) paths.emplace_back(entry->path);
    if (!paths.empty()) services_.reveal(paths);
  });
}

void HistoryActions::copyPicture(const EntryPointer& entry) {
  withFiles({entry}, [this](const EntryList& found) {
    if (found.empty()) return;
    services_.copying.copy(*found.front(),
                           lifetime_.guard([this](const Result<void, CopyFailure>& copied) {
                             if (copied) return say_({.text = "Copied", .kind = Kind::done});
                             say_({.text = closed("Copy failed: " + sentence(copied.error()))});
                           }));
  });
}

void HistoryActions::readPNG(const EntryPointer& entry, std::function<void(std::string)> done) {
  if (formatOfFileName(entry->path) != ExportFormat::png) return;
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, path = entry->path] { return files->read(path); },
      lifetime_.guard([done = std::move(done)](Result<std::string> bytes) {
        if (bytes) done(*std::move(bytes));
      }));
}

void HistoryActions::copyPaths(const EntryList& entries) {
  withFiles(entries, [this](const EntryList& found) {
    Clipboard* const clipboard = services_.clipboard();
    if (clipboard == nullptr) {
      return say_({.text = closed(sentence(CopyFailure{CopyFailure::Case::noClipboard}))});
    }
    std::string text;
    for (const EntryPointer& entry : found) text += (text.empty() ? "" : "\n") + entry->path;
    clipboard->setText(std::move(text), lifetime_.guard([this](const Result<void>& copied) {
      if (copied) return say_({.text = "Path copied", .kind = Kind::done});
      say_({.text = closed("Copy failed: " + copied.error().reason)});
    }));
  });
}

void HistoryActions::copyText(const EntryList& entries) {
  std::string text;
  for (const EntryPointer& entry : take(HistoryAction::copyText, entries)) {
    if (!text.empty()) text += "\n\n";
    text += copiedCaptureText(*entry, services_.joinsLines());
  }
  if (text.empty()) return;
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) {
    return say_({.text = closed(sentence(CopyFailure{CopyFailure::Case::noClipboard}))});
  }
  clipboard->setText(std::move(text), lifetime_.guard([this](const Result<void>& copied) {
    if (copied) return say_({.text = "Text copied", .kind = Kind::done});
    say_({.text = closed("Copy failed: " + copied.error().reason)});
  }));
}

void HistoryActions::saveAs(const EntryPointer& entry, const Path& file) {
  withFiles({entry}, [this, file](const EntryList& found) {
    if (found.empty()) return say_({.text = sentence(EntryFailure{EntryFailure::Case::left})});
    services_.exporting.saveAs(
        found.front(), file, lifetime_.guard([this](const Result<Path, ExportFailure>& saved) {
          if (!saved) return say_({.text = sentence(saved.error())});
          say_({.text = "Saved as " + saved->filename().string(), .kind = Kind::done});
        }));
  });
}

void HistoryActions::trash(const EntryList& entries) {
  HistoryShare share = this->share(HistoryAction::trash, entries);
  if (share.entries.empty()) return;
  if (!share.leftOut.empty()) say_({.text = share.leftOut, .kind = Kind::refusal});
  const std::vector<std::string> ids = idsOf(share.entries);
  services_.library.deletion().trash(
      ids, HistoryDeletion::Undo::offered,
      lifetime_.guard([this, share = std::move(share)](const TrashSweep& sweep) {
        if (sweep.indexNotSaved) return sayUnsaved(*sweep.indexNotSaved);
        onSaved_();
        sayFailures(sweep.failures, share.entries, share.leftOut);
        if (!sweep.removed.empty() && sweep.isUndoTaken) {
          say_({.text = "This can’t be undone, since an undo before it waits for its disk; the "
                        "files are in the Trash.",
                .detail = share.leftOut});
        }
      }));
}

void HistoryActions::undo() {
  if (!services_.library.deletion().pendingUndo()) return;
  EntryList entries;
  for (const RemovedEntry& item : services_.library.deletion().pendingUndo()->items) {
    entries.push_back(item.entry);
  }
  services_.library.deletion().undo(
      lifetime_.guard([this, entries = std::move(entries)](const UndoOutcome& outcome) {
        if (outcome.indexNotSaved) return sayUnsaved(*outcome.indexNotSaved);
        onSaved_();
        sayFailures(outcome.failures, entries);
      }));
}

void HistoryActions::remove(const EntryList& entries) {
  const std::vector<std::string> ids = idsOf(take(HistoryAction::remove, entries));
  if (ids.empty()) return;
  services_.prune.forget(ids, lifetime_.guard([this](const ForgetReport& report) {
    if (report.indexNotSaved) return sayUnsaved(*report.indexNotSaved);
    onSaved_();
    if (report.stayed.empty()) return;
    say_({.text = fmt::format("{} couldn't be removed. {}", counted(report.stayed.size()),
                              report.stayed.front().reason)});
  }));
}

void HistoryActions::retrySaving() {
  services_.library.store().flush(lifetime_.guard([this](const Result<void>& saved) {
    if (!saved) return sayUnsaved(saved.error().reason);
    onSaved_();
  }));
}

}  // namespace vantorel
