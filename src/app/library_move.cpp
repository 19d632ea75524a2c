#include "app/library_move.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

/// Where a path leads, as far as it does.
Path placeOf(const Files& files, const Path& path) {
  if (auto place = files.resolved(path)) return *std::move(place);
  return path.has_relative_path() ? placeOf(files, path.parent_path()) / path.filename() : path;
}

/// Folders that the library fills and clears by itself. Blocks.
bool isOwnFolder(const Files& files, const Path& folder, const LibraryPaths& paths) {
  const Path place = placeOf(files, folder).lexically_normal();
  const auto isIn = [&](const Path& own) {
    const Path at = placeOf(files, own);
    return std::ranges::mismatch(at, place).in1 == at.end();
  };
  return place == placeOf(files, paths.data) || isIn(paths.stagedCaptures()) ||
         isIn(paths.redactedOriginals()) || isIn(paths.originals()) || isIn(paths.caches);
}

FolderRefusal ownFolder() {
  return {FolderRefusal::Case::unusable, "Vantorel keeps its own files in it"};
}

Result<void, FolderRefusal> tryFolder(Files& files, const Path& folder, const LibraryPaths& paths) {
  if (isOwnFolder(files, folder, paths)) return std::unexpected(ownFolder());
  auto prepared = prepareCaptureFolder(files, folder);
  if (prepared) return {};
  return std::unexpected(
      FolderRefusal{FolderRefusal::Case::unusable, std::move(prepared.error().reason)});
}

}  // namespace

std::string sentence(const FolderRefusal& refusal) {
  switch (refusal.what) {
    case FolderRefusal::Case::notUTF8: return "The folder's name is not UTF-8.";
    case FolderRefusal::Case::unusable:
      return "The new folder can't be used: " + refusal.reason + ".";
  }
  std::unreachable();
}

void LibraryMove::followSetting() {
  storageFolder_ = services_.settings->values().storageDirectory;
  observation_ =
      services_.settings->observe(&SettingsValues::storageDirectory, [this] { settingChanged(); });
}

void LibraryMove::settingChanged() {
  const std::string& chosen = services_.settings->values().storageDirectory;
  const std::string previous = std::exchange(storageFolder_, chosen);
  if (previous == chosen || !services_.defaults->value("storageDirectory")) return;
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, chosen, paths = services_.library->paths()] {
        return isOwnFolder(*files, chosen, paths);
      },
      lifetime_.guard([this, previous, chosen](bool isOwn) {
        if (isOwn) {
          return services_.alerts->notify(std::string(RelocationReport::notMovedTitle),
                                          sentence(ownFolder()));
        }
        follow(previous, chosen);
      }));
}

void LibraryMove::follow(const Path& previous, const Path& chosen) {
  services_.library->whenReady(lifetime_.guard([this, previous, chosen] {
    services_.library->relocation().relocate(
        {chosen, {previous, services_.usualFolder}}, {},
        lifetime_.guard([this](const RelocationOutcome& outcome) { report(outcome); }));
  }));
}

void LibraryMove::report(const RelocationOutcome& outcome) {
  logInfo("History", "{} moved, {} failed, {} not moved", captureCount(outcome.moved),
          outcome.failed, outcome.notMoved);
  if (auto alert = RelocationReport::alert(outcome)) {
    services_.alerts->notify(std::move(alert->title), std::move(alert->text));
  }
}

void LibraryMove::checkFolder(const Path& folder, Checked done) {
  if (!isUtf8(folder.string())) {
    return done(std::unexpected(FolderRefusal{FolderRefusal::Case::notUTF8}));
  }
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, folder, paths = services_.library->paths()] {
        return tryFolder(*files, folder, paths);
      },
      lifetime_.guard(std::move(done)));
}

void LibraryMove::moveTo(const Path& folder, HistoryRelocation::Progress progress,
                         std::shared_ptr<RelocationStopFlag> flag, Done done) {
  checkFolder(folder, [this, folder, progress = std::move(progress), flag = std::move(flag),
                       done = std::move(done)](Result<void, FolderRefusal> usable) mutable {
    if (!usable) return done(std::unexpected(std::move(usable.error())));
    const std::string previous = services_.settings->values().storageDirectory;
    storageFolder_ = folder.string();
    services_.settings->set(&SettingsValues::storageDirectory, folder.string());
    services_.library->relocation().relocate(
        {folder, {previous, services_.usualFolder}}, std::move(progress),
        [done = std::move(done)](RelocationOutcome outcome) mutable { done(std::move(outcome)); },
        std::move(flag));
  });
}

}  // namespace vantorel
