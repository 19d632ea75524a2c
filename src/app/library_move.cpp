#include "app/library_move.hpp"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

#include "base/log.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr const char* ownFolderRefusal =
    "The new folder can't be used: Vantorel keeps its own files in it.";

/// Folders that the library fills and clears by itself.
bool isOwnFolder(const Path& folder, const LibraryPaths& paths) {
  std::error_code error;
  const Path real = std::filesystem::weakly_canonical(folder, error);
  const auto isIn = [&](const Path& own) {
    const Path place = std::filesystem::weakly_canonical(own, error);
    return std::ranges::mismatch(place, real).in1 == place.end();
  };
  return real == std::filesystem::weakly_canonical(paths.data, error) ||
         isIn(paths.stagedCaptures()) || isIn(paths.redactedOriginals()) ||
         isIn(paths.originals()) || isIn(paths.caches);
}

}  // namespace

void LibraryMove::followSetting() {
  storageFolder_ = services_.settings->values().storageDirectory;
  observation_ = services_.settings->observe([this](std::string_view key) {
    if (key == "storageDirectory") settingChanged();
  });
}

void LibraryMove::settingChanged() {
  const std::string& chosen = services_.settings->values().storageDirectory;
  const std::string previous = std::exchange(storageFolder_, chosen);
  if (previous == chosen || !services_.defaults->value("storageDirectory")) return;
  if (isOwnFolder(chosen, services_.library->paths())) {
    services_.alerts->notify("Captures weren't moved", ownFolderRefusal);
    return;
  }
  services_.library->whenReady(alive_.guard([this, previous, chosen] {
    services_.library->relocation().relocate(
        {chosen, {previous, services_.usualFolder}}, {},
        alive_.guard([this](const RelocationOutcome& outcome) { report(outcome); }));
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
  if (!isUtf8(folder.string())) return done(std::unexpected("The folder's name is not UTF-8."));
  if (isOwnFolder(folder, services_.library->paths())) {
    return done(std::unexpected(ownFolderRefusal));
  }
  services_.work->post(
      [files = services_.files, folder, main = services_.main,
       reply = alive_.guard([done = std::move(done)](const Result<void>& usable) mutable {
         if (usable) return done({});
         done(std::unexpected("The new folder can't be used: " + usable.error().reason + "."));
       })]() mutable {
        main->post([usable = prepareCaptureFolder(*files, folder),
                    reply = std::move(reply)]() mutable { reply(usable); });
      });
}

void LibraryMove::moveTo(const Path& folder, HistoryRelocation::Progress progress,
                         std::shared_ptr<RelocationStopFlag> flag, Done done) {
  checkFolder(folder, [this, folder, progress = std::move(progress), flag = std::move(flag),
                       done = std::move(done)](std::expected<void, std::string> usable) mutable {
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
