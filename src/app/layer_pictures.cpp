#include "app/layer_pictures.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/parked_index.hpp"

namespace vantorel {
namespace {

constexpr const char* logName = "Layers";

/// In seconds: longer than a folder that is shared between machines takes to agree, and than most
/// windows are open.
constexpr double youth = 24.0 * 60 * 60;

/// Those that were last written before `time`.
LayerPictures::Names picturesBefore(double time, const Files& files, const Path& folder) {
  LayerPictures::Names names;
  const auto items = files.list(folder);
  if (!items) return names;
  for (const FolderItem& item : *items) {
    if (item.type != FileType::regular || FolderUse::isLock(item.name)) continue;
    const auto status = files.status(folder / item.name);
    if (status && status->modified < time) names.insert(item.name);
  }
  return names;
}

/// Whether a damaged index lies in the folder: nobody knows what it named, and a repair or a backup
/// may bring that back.
Result<bool> hasDamagedIndex(const Files& files, const LibraryPaths& library) {
  const auto items = VT_TRY(files.list(library.data));
  return std::ranges::any_of(items, [&](const FolderItem& item) {
    return parkedKind(library.index(), item.name) == ParkedKind::unreadable;
  });
}

/// Takes out what a record in the folder names, also one that this version cannot read: a name is
/// unlike any other text.
Result<void> dropNamed(const Files& files, const Path& folder, LayerPictures::Names& names) {
  const auto items = files.list(folder);
  if (!items) {
    if (items.error().kind == FailureKind::notFound) return {};
    return std::unexpected(items.error());
  }
  for (const FolderItem& item : *items) {
    if (item.type != FileType::regular || !item.name.contains(".json")) continue;
    const std::string text = VT_TRY(files.read(folder / item.name));
    std::erase_if(names, [&](const std::string& name) { return text.contains(name); });
    if (names.empty()) return {};
  }
  return {};
}

void removeAll(Files& files, const Path& folder, const LayerPictures::Names& names) {
  for (const std::string& name : names) {
    if (const auto removed = files.remove(folder / name); !removed) {
      logWarning(logName, "{} stays: {}", name, removed.error().reason);
    } else {
      logInfo(logName, "{} was removed, which nothing shows any more", name);
    }
  }
}

}  // namespace

LayerPictures::LayerPictures(Services services, std::function<Names()> inUse)
    : services_(std::move(services)),
      inUse_(std::move(inUse)),
      use_(std::make_shared<FolderUse>(services_.files, services_.folder)) {
  services_.disk->post([use = use_] {
    if (const auto begun = use->begin(); !begun) {
      logWarning(logName, "other programs can't be told that layers are in use here: {}",
                 begun.error().reason);
    }
  });
}

void LayerPictures::removeLeftOver() {
  roundTrip(
      *services_.disk, services_.main,
      [files = services_.files, folder = services_.folder,
       before = services_.clock->now() - youth] { return picturesBefore(before, *files, folder); },
      lifetime_.guard([this](Names found) {
        services_.library.whenReady(lifetime_.guard([this, found = std::move(found)]() mutable {
          // An index that is gone may be put back from a backup.
          if (services_.library.store().entries().empty()) return;
          removeUnnamed(std::move(found));
        }));
      }));
}

void LayerPictures::removeUnnamed(Names candidates) {
  if (candidates.empty()) return;
  // What was given up a moment ago is named until its draft is gone.
  services_.drafts.settle(lifetime_.guard([this, candidates = std::move(candidates)] {
    // A deletion that is under way may give its captures back.
    const bool isOurs = !services_.library.store().indexRefusal();
    if (!isOurs || services_.library.deletion().isBusy()) return;
    Names going = unnamed(candidates);
    if (going.empty()) return;
    services_.disk->post([files = services_.files, folder = services_.folder,
                          library = services_.library.paths(), drafts = services_.drafts.folder(),
                          use = use_, going = std::move(going)]() mutable {
      if (use->mayHaveOthers()) {
        return logInfo(logName, "{} that nothing shows stay: another program works here",
                       going.size());
      }
      const auto isDamaged = hasDamagedIndex(*files, library);
      if (!isDamaged || *isDamaged) {
        return logWarning(logName, "{} that nothing shows stay: {}", going.size(),
                          isDamaged ? "a damaged index may name them" : isDamaged.error().reason);
      }
      for (const Path& records : {library.data, drafts}) {
        if (const auto looked = dropNamed(*files, records, going); !looked) {
          logWarning(logName, "pictures of layers stay: {}", looked.error().reason);
          return;
        }
      }
      removeAll(*files, folder, going);
    });
  }));
}

LayerPictures::Names LayerPictures::unnamed(Names candidates) const {
  const auto drop = [&](const std::string& path) {
    candidates.erase(Path(path).filename().string());
  };
  for (const std::string& name : inUse_()) candidates.erase(name);
  for (const EntryPointer& entry : services_.library.store().entries()) {
    if (entry->combine) {
      for (const CombineAttachment& one : entry->combine->attachments) drop(one.path);
    }
    if (!entry->layers) continue;
    for (const LayerSpec& layer : *entry->layers) {
      if (layer.path) drop(*layer.path);
    }
  }
  return candidates;
}

}  // namespace vantorel
