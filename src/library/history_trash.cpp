#include "library/history_trash.hpp"

#include <fmt/format.h>

#include "base/log.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

constexpr std::string_view category = "History";
constexpr int mostNames = 1000;

/// The file's place in the Trash, if it is known.
template <class Outcome>
std::optional<Path> placeOf(const Outcome& outcome) {
  const Path* const path = std::get_if<Path>(&outcome);
  return path == nullptr ? std::nullopt : std::optional(*path);
}

}  // namespace

std::string numberedName(const Path& path, int number) {
  return fmt::format("{} {}{}", path.stem().string(), number, path.extension().string());
}

HistoryTrash::FileOutcome HistoryTrash::moveToTrash(const Path& path, FileReach reach) {
  switch (reach) {
    case FileReach::there: break;
    case FileReach::fileGone: return NothingThere{};
    case FileReach::folderGone:
    case FileReach::folderUnreachable:
    case FileReach::folderDenied:
      logWarning(category, "move to Trash skipped: the file's folder could not be reached");
      return Failed{std::string(sentence(reach))};
    case FileReach::unknown:
      logWarning(category, "move to Trash skipped: the file could not be looked up");
      return Failed{std::string(sentence(reach))};
  }
  auto moved = trash_.moveToTrash(path);
  if (!moved && moved.error().kind == FailureKind::notFound) return NothingThere{};
  if (!moved) {
    logWarning(category, "move to Trash failed: {}", moved.error().reason);
    return Failed{moved.error().reason};
  }
  if (!*moved) return MovedUntracked{};
  return **moved;
}

HistoryTrash::Outcome HistoryTrash::trash(const TrashCandidate& candidate) {
  const ScreenshotEntry& entry = *candidate.entry;
  RemovedEntry removed;
  removed.entry = candidate.entry;
  if (!candidate.keepsFile) {
    FileOutcome file = moveToTrash(entry.path, reachOf(files_, entry));
    if (auto* const failure = std::get_if<Failed>(&file)) return std::move(*failure);
    removed.trashedPNGURL = placeOf(file);
    removed.isUntracked = std::holds_alternative<MovedUntracked>(file);
  }
  if (entry.originalPath && !candidate.keepsOriginal && *entry.originalPath != entry.path) {
    FileOutcome original = moveToTrash(*entry.originalPath, reachOfOriginal(files_, entry));
    if (auto* const failure = std::get_if<Failed>(&original)) {
      // The entry stays, so its file must too.
      if (removed.trashedPNGURL && !trash_.restore(*removed.trashedPNGURL, entry.path)) {
        logError(category, "restore from Trash failed");
      }
      return std::move(*failure);
    }
    removed.trashedOriginalURL = placeOf(original);
    removed.isUntracked |= std::holds_alternative<MovedUntracked>(original);
  }
  return removed;
}

Result<Path> HistoryTrash::putBack(const Path& trashed, const Path& wanted) {
  for (int attempt = 1; attempt <= mostNames; ++attempt) {
    Path place = wanted;
    if (attempt > 1) {
      place.replace_filename(numberedName(wanted, attempt));
    }
    auto restored = trash_.restore(trashed, place);
    if (restored) return place;
    if (restored.error().kind != FailureKind::exists) return std::unexpected(restored.error());
  }
  return failed(FailureKind::exists, "there is something of that name already");
}

HistoryTrash::Restored HistoryTrash::restore(const RemovedEntry& removed) {
  Restored restored{.entry = removed.entry, .failure = std::nullopt};
  const auto put = [&](const std::optional<Path>& trashed, const Path& wanted, auto assign) {
    if (!trashed) return;
    // Put into the folder below the mount point, it would be hidden when the disk comes back.
    const FileReach reach = wanted == Path(removed.entry->path)
                                ? reachOfPlace(files_, wanted, removed.entry->fileIdentity)
                                : FileReach::fileGone;
    const bool isAway = reach == FileReach::folderUnreachable || reach == FileReach::folderDenied;
    if (isAway) {
      restored.isInTrash = true;
      restored.failure = sentence(reach);
      return;
    }
    const auto place = putBack(*trashed, wanted);
    if (!place) {
      logError(category, "restore from Trash failed: {}", place.error().reason);
      restored.isInTrash = place.error().kind != FailureKind::notFound;
      restored.failure = restored.isInTrash ? "restore from Trash failed: " + place.error().reason
                                            : "the files are no longer in the Trash";
      return;
    }
    ++restored.recovered;
    if (*place == wanted) return;
    ScreenshotEntry moved = *restored.entry;
    assign(moved, place->string());
    restored.entry = std::make_shared<const ScreenshotEntry>(std::move(moved));
  };
  put(removed.trashedPNGURL, removed.entry->path,
      [](ScreenshotEntry& entry, std::string path) { entry.path = std::move(path); });
  if (!restored.failure && removed.entry->originalPath) {
    put(removed.trashedOriginalURL, *removed.entry->originalPath,
        [](ScreenshotEntry& entry, std::string path) { entry.originalPath = std::move(path); });
  }
  if (removed.isUntracked && !restored.failure) restored.failure = "restore from Trash failed";
  restored.hasBackingImage = files_.status(restored.entry->path).has_value();
  return restored;
}

}  // namespace vantorel
