#include "library/index_storage.hpp"

#include "base/log.hpp"
#include "library/parked_index.hpp"

namespace vantorel {
namespace {

constexpr std::string_view category = "History";

}  // namespace

bool allowsWrites(IndexLoad load) {
  switch (load) {
    case IndexLoad::absent:
    case IndexLoad::read:
    case IndexLoad::parked: return true;
    case IndexLoad::notParked:
    case IndexLoad::newer:
    case IndexLoad::unreadable:
    case IndexLoad::inUse: return false;
  }
  std::unreachable();
}

IndexStorage::IndexStorage(Files& files, LibraryPaths paths, std::uint32_t userID)
    : files_(files), paths_(std::move(paths)), userID_(userID) {}

IndexStorage::~IndexStorage() = default;

Result<void> IndexStorage::takeLock() {
  if (lock_) return {};
  VT_TRY(files_.makeFolder(paths_.data, Privacy::ownerOnly));
  lock_ = VT_TRY(files_.lock(paths_.lock()));
  return {};
}

IndexStorage::Loaded IndexStorage::load() {
  Loaded loaded;
  Path staging = paths_.index();
  staging += ".staging";
  if (files_.status(staging)) {
    if (const auto cleared = files_.remove(staging); !cleared) {
      logWarning(category, "history index staging file could not be cleared: {}",
                 cleared.error().reason);
    }
  }
  const auto status = files_.status(paths_.index());
  if (!status && status.error().kind == FailureKind::notFound) return loaded;
  if (status && (status->type != FileType::regular || status->owner != userID_)) {
    logError(category, "index unreadable — index writes disabled for this run");
    loaded.load = IndexLoad::unreadable;
    return loaded;
  }
  auto text = files_.read(paths_.index());
  if (!text) {
    logError(category, "index could not be read; index writes disabled for this run: {}",
             text.error().reason);
    loaded.load = IndexLoad::unreadable;
    return loaded;
  }
  auto decoded = decodeIndex(*text);
  if (!decoded) {
    loaded.load = park(*text);
    return loaded;
  }
  if (decoded->version > HistoryIndexFile::currentVersion) {
    logError(category,
             "index was written by a newer build (version {}; this build reads up to {}) — index "
             "writes disabled for this run",
             decoded->version, HistoryIndexFile::currentVersion);
    loaded.load = IndexLoad::newer;
    return loaded;
  }
  file_ = std::move(decoded->file);
  loaded.unreadCount = file_.unreadEntries.size() + file_.unreadCollections.size();
  if (loaded.unreadCount > 0) {
    logWarning(category, "{} item(s) of the index could not be read and are kept as they are",
               loaded.unreadCount);
  }
  loaded.load = IndexLoad::read;
  loaded.entries = file_.entries;
  loaded.collections = file_.collections;
  loaded.changedByReading = decoded->changedByReading;
  return loaded;
}

IndexLoad IndexStorage::park(const std::string& text) {
  if (parkIndex(files_, paths_.index(), text) == Parking::failed) {
    logError(category, "index failed to decode, and no copy of it could be parked");
    return IndexLoad::notParked;
  }
  logError(category, "index failed to decode; a copy is parked alongside it as .unreadable.json");
  return IndexLoad::parked;
}

void IndexStorage::apply(std::vector<IndexChange> changes) {
  struct Apply {
    HistoryIndexFile& file;
    void operator()(IndexChange::Insert& insert) const {
      insertAt(file.entries, std::move(insert.entries));
    }
    void operator()(IndexChange::Replace& replace) const {
      file.entries[replace.position] = std::move(replace.entry);
    }
    void operator()(const IndexChange::Remove& remove) const {
      removeAt(file.entries, remove.positions);
    }
    void operator()(IndexChange::Collections& collections) const {
      file.collections = std::move(collections.all);
    }
  };
  for (IndexChange& change : changes) std::visit(Apply{file_}, change.value);
}

Result<void> IndexStorage::write() {
  return files_.replace(paths_.index(), encodeIndex(file_), Privacy::ownerOnly);
}

}  // namespace vantorel
