#include "library/history_trash.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "base/log.hpp"
#include "library/file_reach.hpp"
#include "library/history_log.hpp"
#include "library/known_files.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

/// The file's place in the Trash, if it is known.
template <class Outcome>
std::optional<Path> placeOf(const Outcome& outcome) {
  const Path* const path = std::get_if<Path>(&outcome);
  return path == nullptr ? std::nullopt : std::optional(*path);
}

/// Of an entry that a deletion was busy with: its file, the last one of its folder, may be what
/// went.
FileReach reachOfDeleted(const Files& files, const ScreenshotEntry& entry) {
  return entry.fileIdentity ? reachOf(files, entry) : reachOf(files, Path(entry.path));
}

/// Of a change that can't be told yet from one that was made.
constexpr std::string_view undecided = "it isn't known yet whether its original is in the Trash";

bool hasOriginal(const ScreenshotEntry& entry) {
  return entry.originalPath && *entry.originalPath != entry.path;
}

}  // namespace

std::string originalRemark(const RemovedEntry& removed) {
  const auto name = [&] { return Path(*removed.entry->originalPath).filename().string(); };
  switch (removed.original) {
    case OriginalPlace::original: return "";
    case OriginalPlace::anotherFile:
      return fmt::format("its original is not in the Trash. {} is another file now and stays.",
                         name());
    case OriginalPlace::nothing:
      return fmt::format("its original is not in the Trash. {} was not found.", name());
  }
  std::unreachable();
}

std::vector<TrashCandidate> trashCandidates(const Files& files, const EntryList& all,
                                            const EntryList& going) {
  std::unordered_set<std::string_view> ids;
  std::vector<std::string> asked;
  for (const EntryPointer& entry : going) {
    ids.insert(entry->id);
    asked.push_back(entry->path);
    if (entry->originalPath) asked.push_back(*entry->originalPath);
  }
  EntryList staying;
  std::ranges::copy_if(all, std::back_inserter(staying),
                       [&](const EntryPointer& entry) { return !ids.contains(entry->id); });
  KnownFiles shown = filesCalledLike(files, staying, asked);
  std::vector<TrashCandidate> found;
  for (const EntryPointer& entry : going) {
    found.push_back({entry, shown.hasName(entry->path),
                     entry->originalPath && shown.hasName(*entry->originalPath)});
  }
  return found;
}

void notePlaces(std::vector<RemovedEntry>& removed, const EntryList& all) {
  std::unordered_map<std::string_view, RemovedEntry*> byID;
  for (RemovedEntry& one : removed) byID.emplace(one.entry->id, &one);
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (const auto found = byID.find(all[i]->id); found != byID.end()) found->second->index = i;
  }
}

HistoryTrash::FileOutcome HistoryTrash::moveToTrash(const Path& path, FileReach reach) {
  switch (reach) {
    case FileReach::there:
    case FileReach::linkBroken: break;
    case FileReach::fileGone:
    case FileReach::folderReplaced: return NothingThere{};
    case FileReach::folderGone:
    case FileReach::folderUnreachable:
    case FileReach::folderDenied:
      logWarning(historyLog, "move to Trash skipped: the file's folder could not be reached");
      return Failed{std::string(sentence(reach))};
    case FileReach::unknown:
      logWarning(historyLog, "move to Trash skipped: the file could not be looked up");
      return Failed{std::string(sentence(reach))};
  }
  auto moved = trash_.moveToTrash(path);
  if (!moved && moved.error().kind == FailureKind::notFound) return NothingThere{};
  if (!moved) {
    logWarning(historyLog, "move to Trash failed: {}", moved.error().reason);
    if (isUnanswered(moved.error())) return Failed{unansweredReason(moved.error()), true};
    return Failed{moved.error().reason};
  }
  if (!*moved) return MovedUntracked{};
  return **moved;
}

HistoryTrash::FileOutcome HistoryTrash::moveOriginal(RemovedEntry& removed) {
  const ScreenshotEntry& entry = *removed.entry;
  removed.original = placeOfOriginal(files_, entry);
  if (removed.original == OriginalPlace::anotherFile) return NothingThere{};
  return moveToTrash(*entry.originalPath, reachOfOriginal(files_, entry));
}

HistoryTrash::Outcome HistoryTrash::trash(const TrashCandidate& candidate,
                                          const DeletionJournal::Item& item) {
  const ScreenshotEntry& entry = *candidate.entry;
  RemovedEntry removed{.entry = candidate.entry, .originalMark = item.original};
  if (!candidate.keepsFile) {
    FileOutcome file = moveToTrash(entry.path, reachOf(files_, entry));
    if (auto* const failure = std::get_if<Failed>(&file)) return std::move(*failure);
    removed.trashedPNGURL = placeOf(file);
    removed.isUntracked = std::holds_alternative<MovedUntracked>(file);
  }
  if (hasOriginal(entry) && !candidate.keepsOriginal) {
    FileOutcome original = moveOriginal(removed);
    if (auto* const failure = std::get_if<Failed>(&original)) {
      // The entry stays, so its file must too; one that is stuck in the Trash takes the entry
      // along.
      if (failure->isUnanswered || !removed.trashedPNGURL) return std::move(*failure);
      const auto back = trash_.restore(*removed.trashedPNGURL, entry.path, Trash::Attempt::first);
      if (back) return std::move(*failure);
      logError(historyLog, "restore from Trash failed");
      if (isUnanswered(back.error())) return Failed{unansweredReason(back.error()), true, true};
      return removed;
    }
    removed.trashedOriginalURL = placeOf(original);
    removed.isUntracked |= std::holds_alternative<MovedUntracked>(original);
  }
  return removed;
}

DeletionJournal::Item HistoryTrash::describe(const TrashCandidate& candidate) const {
  const auto markOf = [this](const Path& path) -> std::optional<FileMark> {
    const auto status = files_.status(path);
    return status ? std::optional(FileMark::of(*status)) : std::nullopt;
  };
  const ScreenshotEntry& entry = *candidate.entry;
  DeletionJournal::Item item{entry.id};
  if (!candidate.keepsFile) item.file = markOf(entry.path);
  if (!candidate.keepsOriginal && hasOriginal(entry) &&
      placeOfOriginal(files_, entry) == OriginalPlace::original) {
    item.original = markOf(*entry.originalPath);
  }
  return item;
}

bool HistoryTrash::isSilent(const Path& path) const {
  const auto there = files_.status(path);
  return !there && isUnanswered(there.error());
}

HistoryTrash::Resumed HistoryTrash::resume(const TrashCandidate& candidate,
                                           const DeletionJournal::Item& item, bool mayLand) {
  constexpr auto silence = [] { return Resumed{.isUnanswered = true}; };
  const ScreenshotEntry& entry = *candidate.entry;
  if (item.isGivenBack && mayLand) {
    const bool answers = !isSilent(entry.path) && !isSilent(entry.originalPath.value_or("/"));
    return answers ? Resumed() : silence();
  }
  RemovedEntry removed{.entry = candidate.entry, .originalMark = item.original};
  bool hadBothNames = false;
  const auto find = [&](const Path& path, const FileMark& file) -> Result<std::optional<Path>> {
    const auto found = VT_TRY(trash_.find(path, file));
    if (!found) return std::nullopt;
    hadBothNames |= found->hadBothNames;
    return found->place;
  };
  if (item.file) {
    auto found = find(entry.path, *item.file);
    if (!found) return silence();
    removed.trashedPNGURL = *std::move(found);
  }
  if (entry.originalPath && item.original) {
    auto found = find(*entry.originalPath, *item.original);
    if (!found) return silence();
    removed.trashedOriginalURL = *std::move(found);
  }
  // A file that was on its way was nobody else's: an entry that has its path by now is of a capture
  // that got the name.
  const bool keepsFile = candidate.keepsFile && !item.file;
  const FileReach reach = reachOfDeleted(files_, entry);
  if (!removed.trashedPNGURL && !keepsFile && reach == FileReach::folderUnreachable) {
    return silence();
  }
  const bool isGone = removed.trashedPNGURL || keepsFile || reach == FileReach::fileGone;
  if (!isGone || (keepsFile && !removed.trashedOriginalURL)) {
    // The file stays, and what went of it comes back.
    if (!removed.trashedOriginalURL) return {};
    if (mayLand || hadBothNames) return {.hadBothNames = hadBothNames};
    const auto back =
        trash_.restore(*removed.trashedOriginalURL, *entry.originalPath, Trash::Attempt::first);
    const bool isLost = !back && isUnanswered(back.error());
    return {.isUnanswered = isLost, .isGivenBack = isLost};
  }
  if (item.original && !removed.trashedOriginalURL && !candidate.keepsOriginal) {
    FileOutcome original = moveOriginal(removed);
    const Failed* const failure = std::get_if<Failed>(&original);
    if (failure != nullptr && failure->isUnanswered) return silence();
    if (failure != nullptr && removed.trashedPNGURL) {
      if (mayLand || hadBothNames) return {.hadBothNames = hadBothNames};
      const auto back = trash_.restore(*removed.trashedPNGURL, entry.path, Trash::Attempt::first);
      if (back) return {};
      if (isUnanswered(back.error())) return {.isUnanswered = true, .isGivenBack = true};
    }
    removed.trashedOriginalURL = placeOf(original);
  }
  return {.removed = std::move(removed), .hadBothNames = hadBothNames};
}

bool HistoryTrash::mayGoBack(RemovedEntry& removed, double now) const {
  if (!removed.originalMayLandUntil || !removed.entry->originalPath) return false;
  if (isSilent(*removed.entry->originalPath)) {
    removed.originalMayLandUntil = 0;
    return true;
  }
  if (mayStillLand(*removed.originalMayLandUntil, now)) return true;
  removed.originalMayLandUntil.reset();
  return false;
}

HistoryTrash::Restored HistoryTrash::restore(const RemovedEntry& removed, Trash::Attempt attempt,
                                             double now) {
  const bool isRepeated = attempt == Trash::Attempt::repeated;
  const ScreenshotEntry& entry = *removed.entry;
  Restored restored{.entry = removed.entry, .again = removed, .failure = std::nullopt};
  const auto unanswered = [&](const std::string& reason) {
    restored.isUnanswered = true;
    restored.failure = "restore from Trash failed: " + reason;
  };
  const auto put = [&](const std::optional<Path>& trashed, const Path& wanted) {
    if (!trashed) return false;
    // Put into the folder below the mount point, it would be hidden when the disk comes back.
    const bool isShown = wanted == Path(entry.path);
    const auto& seen = isShown ? entry.fileIdentity : entry.originalIdentity;
    const FileReach reach =
        isShown || seen ? reachOfPlace(files_, wanted, seen) : FileReach::fileGone;
    if (reach == FileReach::folderUnreachable || reach == FileReach::folderDenied) {
      // What an earlier attempt was not told may have put it there.
      restored.isUnanswered = isRepeated && reach == FileReach::folderUnreachable;
      restored.isInTrash = !restored.isUnanswered;
      restored.failure = sentence(reach);
      return false;
    }
    const auto back = trash_.restore(*trashed, wanted, attempt);
    if (back) return true;
    logError(historyLog, "restore from Trash failed: {}", back.error().reason);
    if (isUnanswered(back.error())) {
      unanswered(unansweredReason(back.error()));
      return false;
    }
    restored.isInTrash = back.error().kind != FailureKind::notFound;
    restored.failure = restored.isInTrash ? "restore from Trash failed: " + back.error().reason
                                          : "the files are no longer in the Trash";
    return false;
  };
  if (mayGoBack(restored.again, now)) {
    unanswered(std::string(undecided));
    return restored;
  }
  std::optional<Path>& original = restored.again.trashedOriginalURL;
  if (original && entry.originalPath && isRepeated && removed.originalMark &&
      !files_.status(*original)) {
    // An earlier attempt may have had to take it back there.
    const auto found = trash_.find(*entry.originalPath, *removed.originalMark);
    if (!found) {
      unanswered(unansweredReason(found.error()));
      return restored;
    }
    if (*found) original = (*found)->place;
  }
  const bool hasOriginal = entry.originalPath && original && put(original, *entry.originalPath);
  if (restored.isUnanswered) return restored;
  if (!restored.isInTrash) (void)put(removed.trashedPNGURL, entry.path);
  if (restored.isUnanswered) return restored;
  if (restored.failure && hasOriginal) {
    // Both or none. A disk that is silent may answer soon; one that is away may never be seen
    // again.
    if (isSilent(entry.path) || isSilent(*entry.originalPath)) {
      restored.isUnanswered = true;
      return restored;
    }
    const FileOutcome back = moveToTrash(*entry.originalPath, FileReach::there);
    if (const auto* const failure = std::get_if<Failed>(&back); failure && failure->isUnanswered) {
      restored.again.originalMayLandUntil = 0;
      unanswered(failure->reason);
      return restored;
    }
    original = placeOf(back);
  }
  if (removed.isUntracked && !restored.failure) restored.failure = "restore from Trash failed";
  // While its own is in the Trash, what has its name is somebody else's.
  const bool isOwn = !restored.isInTrash || !removed.trashedPNGURL;
  restored.hasBackingImage = isOwn && files_.status(entry.path).has_value();
  return restored;
}

void HistoryTrash::discard(const std::vector<std::string>& surplus, const EntryList& entries) {
  if (surplus.empty()) return;
  KnownFiles needed = filesCalledLike(files_, entries, surplus);
  for (const std::string& path : surplus) {
    if (needed.hasName(path)) continue;
    const auto moved = trash_.moveToTrash(path);
    if (!moved && moved.error().kind != FailureKind::notFound) {
      logWarning(historyLog, "move to Trash failed: {}", moved.error().reason);
    }
  }
  trash_.flush();
}

}  // namespace vantorel
