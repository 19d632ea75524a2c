#include "library/index_storage.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/utf8.hpp"
#include "library/history_log.hpp"
#include "library/parked_index.hpp"

namespace vantorel {
namespace {

/// Puts a new index together from runs of the old one and new text, merging what is adjacent.
class Assembly {
 public:
  explicit Assembly(const std::string& head) { addText(head); }

  /// Answers where the item will stand in the new index. All items but the first get a comma.
  TextRun addItem(TextRun oldRun) {
    const bool follows = !isFirstItem_ && !pieces_.empty() && pieces_.back().isCopied &&
                         pieces_.back().run.offset + pieces_.back().run.length + 1 == oldRun.offset;
    if (follows) {
      // The one byte between two items of a list is their comma.
      pieces_.back().run.length += 1 + oldRun.length;
      size_ += 1;
    } else {
      separate();
      pieces_.push_back({true, oldRun});
    }
    isFirstItem_ = false;
    const TextRun place{size_, oldRun.length};
    size_ += oldRun.length;
    return place;
  }

  TextRun addItem(std::string_view text) {
    separate();
    isFirstItem_ = false;
    const TextRun place{size_, text.size()};
    addText(text);
    return place;
  }

  void addText(std::string_view text) {
    if (pieces_.empty() || pieces_.back().isCopied) {
      pieces_.push_back({false, {text_.size(), 0}});
    }
    pieces_.back().run.length += text.size();
    text_ += text;
    size_ += text.size();
  }

  /// Valid as long as this.
  [[nodiscard]] std::vector<ContentPart> parts(const FileContent* old) const {
    std::vector<ContentPart> all;
    all.reserve(pieces_.size());
    for (const auto& [isCopied, run] : pieces_) {
      if (isCopied) {
        all.push_back({.source = old, .offset = run.offset, .length = run.length});
      } else {
        all.push_back({.bytes = std::string_view(text_).substr(run.offset, run.length)});
      }
    }
    return all;
  }

 private:
  void separate() {
    if (!isFirstItem_) addText(",");
  }

  struct Piece {
    bool isCopied;
    TextRun run;  // in the old index, or in `text_`
  };
  std::string text_;
  std::vector<Piece> pieces_;
  std::uint64_t size_ = 0;
  bool isFirstItem_ = true;
};

/// True when one file has several entries of one id that tell different things: only one stays.
bool hasConflict(const EntryList& entries) {
  std::unordered_map<std::string_view, std::vector<const ScreenshotEntry*>> seen;
  return std::ranges::any_of(entries, [&](const EntryPointer& entry) {
    auto& twins = seen[entry->id];
    twins.push_back(entry.get());
    return std::ranges::any_of(twins, [&](const ScreenshotEntry* twin) {
      return twin->path == entry->path && *twin != *entry;
    });
  });
}

bool isSameState(const FileStatus& one, const FileStatus& other) {
  return one.device == other.device && one.inode == other.inode && one.size == other.size &&
         one.modified == other.modified;
}

/// Two entries of one id cannot live in one library. The same file under the same id is the same
/// capture written twice; another file is another capture, and gets an id of its own.
void separateDoubles(EntryList& entries, std::vector<TextRun>& runs) {
  std::unordered_map<std::string_view, const ScreenshotEntry*> seen;
  seen.reserve(entries.size());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EntryPointer entry = entries[i];
    TextRun run = runs[i];
    const auto [found, isNew] = seen.emplace(entry->id, entry.get());
    if (!isNew) {
      if (found->second->path == entry->path) continue;
      ScreenshotEntry renamed = *entry;
      renamed.id = randomID();
      entry = std::make_shared<const ScreenshotEntry>(std::move(renamed));
      run = {};
      seen.emplace(entry->id, entry.get());
    }
    entries[kept] = std::move(entry);
    runs[kept++] = run;
  }
  entries.resize(kept);
  runs.resize(kept);
}

void logNewer(int version) {
  logError(historyLog,
           "index was written by a newer build (version {}; this build reads up to {}) — index "
           "writes disabled for this run",
           version, HistoryIndexFile::currentVersion);
}

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

std::string ForeignIndex::sentence() const {
  if (load == IndexLoad::inUse) {
    return "Another process changed the library while its disk didn't answer. The library is read "
           "again; what wasn't saved by then has to be done again.";
  }
  if (!keptAs.empty()) {
    return fmt::format(
        "Another program replaced history.json. Vantorel goes on with its own; the "
        "other one is kept as {}.",
        keptAs);
  }
  return fmt::format(
      "Another program replaced history.json by one that {}. It stays as it is, and "
      "changes aren't saved until Vantorel is started again.",
      load == IndexLoad::newer ? "a newer version of Vantorel wrote" : "can't be read");
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

std::array<Path, 4> IndexStorage::ownFiles() const {
  return {paths_.index(), paths_.deletions(), paths_.pendingUndo(), paths_.relocationJournal()};
}

// A run that was killed while it wrote leaves half a file behind.
std::optional<Path> IndexStorage::clearStaging(const Path& path) {
  Path staging = stagingOf(path);
  if (!files_.status(staging)) return std::nullopt;
  if (const auto cleared = files_.remove(staging); !cleared) {
    logWarning(historyLog, "history index staging file could not be cleared: {}",
               cleared.error().reason);
    return std::nullopt;
  }
  return staging;
}

// What an earlier build, another program or a copy from elsewhere left open to others.
void IndexStorage::makeOwnerOnly() {
  for (const Path& path : ownFiles()) {
    const auto status = files_.status(path);
    if (!status || status->type != FileType::regular || status->owner != userID_) continue;
    const auto tightened = files_.makeOwnerOnly(path);
    if (!tightened) {
      logWarning(historyLog, "{} could not be made owner-only: {}", path.filename().string(),
                 tightened.error().reason);
    } else if (*tightened == Tightening::madeOwnerOnly) {
      logInfo(historyLog, "made {} owner-only", path.filename().string());
    }
  }
}

IndexStorage::Loaded IndexStorage::load() {
  onlyLooks_ = false;
  std::vector<Path> leftovers;
  for (const Path& path : ownFiles()) {
    if (auto staging = clearStaging(path)) leftovers.push_back(*std::move(staging));
  }
  for (const Path& journal : {paths_.deletions(), paths_.relocationJournal()}) {
    if (files_.status(journal)) leftovers.push_back(journal);
  }
  makeOwnerOnly();
  Loaded loaded = readIndex();
  loaded.leftovers = std::move(leftovers);
  return loaded;
}

IndexStorage::Loaded IndexStorage::loadToLook(IndexLoad load) {
  onlyLooks_ = true;
  Loaded loaded = readIndex();
  loaded.load = load;
  loaded.changedByReading = false;
  return loaded;
}

// A link is not followed: the lock lies beside it, so that two libraries could write one file.
std::string IndexStorage::hindranceOf(const FileStatus& status) const {
  if (status.type == FileType::link) {
    const auto target = files_.resolved(paths_.index());
    return fmt::format(
        "{} is a link to {}, which is not followed because another library may use that file. "
        "Put the file itself in the place of the link, or make the whole folder a link.",
        paths_.index().string(), target ? target->string() : "a file that can't be reached");
  }
  if (status.type != FileType::regular) {
    return fmt::format("{} is not a file. Move it away.", paths_.index().string());
  }
  return fmt::format("{} belongs to another user. Make it a file of your own.",
                     paths_.index().string());
}

IndexStorage::Loaded IndexStorage::readIndex() {
  // It may have been looked at before, when another process had it.
  items_.clear();
  rest_ = {};
  content_.reset();
  inPlace_.reset();
  Loaded loaded;
  const auto status = files_.status(paths_.index());
  if (!status && status.error().kind == FailureKind::notFound) return loaded;
  if (status && (status->type != FileType::regular || status->owner != userID_)) {
    logError(historyLog, "index unreadable — index writes disabled for this run{}",
             status->type == FileType::link ? ": history.json is a link" : "");
    loaded.hindrance = hindranceOf(*status);
    loaded.load = IndexLoad::unreadable;
    return loaded;
  }
  const auto open = [&]() -> Result<void> {
    content_ = VT_TRY(files_.open(paths_.index()));
    contentStatus_ = VT_TRY(content_->status());
    inPlace_ = contentStatus_;
    return {};
  };
  if (const auto opened = open(); !opened) return unreadable(opened.error());
  return decode();
}

IndexStorage::Loaded IndexStorage::unreadable(const Failure& failure) {
  logError(historyLog, "index could not be read; index writes disabled for this run: {}",
           failure.reason);
  Loaded loaded;
  loaded.load = IndexLoad::unreadable;
  loaded.unreadReason = failure.reason;
  return loaded;
}

IndexStorage::Loaded IndexStorage::decode() {
  Loaded loaded;
  auto decoded = decodeIndex(
      TextSource{contentStatus_.size, [this](std::uint64_t offset, std::uint64_t length) {
                   return content_->read(offset, length);
                 }});
  if (!decoded && decoded.error().kind != FailureKind::malformed) {
    return unreadable(decoded.error());
  }
  if (!decoded) {
    const auto text = content_->read(0, contentStatus_.size);
    content_.reset();
    if (!text) return unreadable(text.error());
    loaded.load = park(*text, "failed to decode");
    if (loaded.load == IndexLoad::notParked && !onlyLooks_) return loaded;
    // Of bytes that are no text nothing but these is lost.
    if (!isUtf8(*text)) decoded = decodeIndex(repairedUtf8(*text));
    if (!decoded) {
      if (loaded.load == IndexLoad::parked) loaded.damage = damageOf(*text);
      return loaded;
    }
    std::ranges::fill(decoded->runs, TextRun());
    loaded.changedByReading = true;
  }
  if (decoded->file.version > HistoryIndexFile::currentVersion) {
    logNewer(decoded->file.version);
    loaded.load = IndexLoad::newer;
    return loaded;
  }
  loaded.load = IndexLoad::read;
  loaded.changedByReading |= decoded->file.version != HistoryIndexFile::currentVersion;
  loaded.entries = std::move(decoded->file.entries);
  if (!loaded.caches.build(loaded.entries)) {
    if (content_ && hasConflict(loaded.entries)) {
      const auto text = content_->read(0, contentStatus_.size);
      if (!text) return unreadable(text.error());
      if (const IndexLoad parked = park(*text, "has two entries for one capture");
          parked != IndexLoad::parked) {
        Loaded refused;
        refused.load = parked;
        return refused;
      }
    }
    separateDoubles(loaded.entries, decoded->runs);
    (void)loaded.caches.build(loaded.entries);
    loaded.changedByReading = true;
  }
  loaded.collections = decoded->file.collections;
  items_.reserve(loaded.entries.size());
  for (std::size_t i = 0; i < loaded.entries.size(); ++i) {
    items_.push_back({loaded.entries[i], decoded->runs[i]});
  }
  rest_ = std::move(decoded->file);
  loaded.unreadCount = rest_.unreadEntries.size() + rest_.unreadCollections.size();
  if (loaded.unreadCount > 0) {
    logWarning(historyLog, "{} item(s) of the index could not be read and are kept as they are",
               loaded.unreadCount);
    for (const JSONValue& unread : rest_.unreadEntries) {
      std::ranges::move(pathsIn(unread), std::back_inserter(loaded.unreadPaths));
    }
  }
  return loaded;
}

IndexDamage IndexStorage::damageOf(const std::string& text) const {
  const SalvagedIndex salvaged = salvageIndex(text);
  IndexDamage damage{.keptAs = parkedName(paths_.index(), text, ParkedKind::unreadable),
                     .readable = salvaged.entries.size(),
                     .places = salvaged.damagedPlaces};
  logWarning(historyLog, "{}", damage.sentence());
  return damage;
}

IndexLoad IndexStorage::park(const std::string& text, std::string_view reason) {
  if (onlyLooks_) return IndexLoad::notParked;
  if (parkIndex(files_, paths_.index(), text, ParkedKind::unreadable) == Parking::failed) {
    logError(historyLog, "index {}, and no copy of it could be parked", reason);
    return IndexLoad::notParked;
  }
  logError(historyLog, "index {}; a copy is parked alongside it as .unreadable.json", reason);
  return IndexLoad::parked;
}

void IndexStorage::apply(std::vector<IndexChange> changes) {
  struct Apply {
    std::vector<Item>& items;
    HistoryIndexFile& rest;
    void operator()(IndexChange::Insert& insert) const {
      std::vector<std::pair<std::size_t, Item>> added;
      added.reserve(insert.entries.size());
      for (auto& [position, entry] : insert.entries) {
        added.emplace_back(position, Item{std::move(entry), {}});
      }
      insertAt(items, std::move(added));
    }
    void operator()(IndexChange::Replace& replace) const {
      items[replace.position] = {std::move(replace.entry), {}};
    }
    void operator()(const IndexChange::Remove& remove) const { removeAt(items, remove.positions); }
    void operator()(IndexChange::Collections& collections) const {
      rest.collections = std::move(collections.all);
    }
  };
  for (IndexChange& change : changes) std::visit(Apply{items_, rest_}, change.value);
}

// Another program that wrote into the file, rather than replacing it, has moved everything in it.
bool IndexStorage::contentIsUnchanged() const {
  if (!content_) return false;
  const auto status = content_->status();
  return status && status->size == contentStatus_.size &&
         status->modified == contentStatus_.modified;
}

bool IndexStorage::isLost() const {
  if (!lock_ || !inPlace_) return false;
  const auto found = files_.status(paths_.index());
  if (!found) return found.error().kind == FailureKind::notFound;
  if (isSameState(*found, *inPlace_)) return false;
  const auto text = files_.read(paths_.index());
  return text && !decodeIndex(*text);
}

bool IndexStorage::lockMayHaveBeenLost() const {
  if (!content_) return false;
  const auto status = content_->status();
  return !status && status.error().kind == FailureKind::unreachable;
}

void IndexStorage::forgetRuns() {
  for (Item& item : items_) item.run = {};
}

bool IndexStorage::isAsWritten(const std::string& text) const {
  if (!contentIsUnchanged() || text.size() != contentStatus_.size) return false;
  const auto ours = content_->read(0, text.size());
  return ours && *ours == text;
}

Result<ForeignIndex> IndexStorage::park(const std::string& foreign) {
  const auto decoded = decodeIndex(foreign);
  if (decoded && decoded->file.version > HistoryIndexFile::currentVersion) {
    logNewer(decoded->file.version);
    return ForeignIndex{IndexLoad::newer, {}};
  }
  const auto kind = decoded ? ParkedKind::replaced : ParkedKind::unreadable;
  if (parkIndex(files_, paths_.index(), foreign, kind) == Parking::failed) {
    return failed(FailureKind::other, "what another program put in its place could not be kept");
  }
  ForeignIndex kept{decoded ? IndexLoad::read : IndexLoad::parked,
                    parkedName(paths_.index(), foreign, kind)};
  logWarning(historyLog, "{}", kept.sentence());
  return kept;
}

// Parking takes a while: what is in place then is looked at again.
Result<void> IndexStorage::keepForeign() {
  while (true) {
    const auto found = files_.status(paths_.index());
    if (!found && found.error().kind == FailureKind::notFound) return {};
    if (!found) return std::unexpected(found.error());
    if (inPlace_ && isSameState(*found, *inPlace_)) return {};
    if (lockMayHaveBeenLost()) {
      logWarning(historyLog, "another process wrote the index while its disk did not answer");
      foreign_.push_back({IndexLoad::inUse, {}});
      giveLockBack();
      return failed(FailureKind::busy,
                    "another process changed the library meanwhile; it is read again, so try "
                    "once more");
    }
    const bool mayRead = found->type == FileType::regular && found->owner == userID_;
    const auto text = mayRead ? files_.read(paths_.index())
                              : failed(FailureKind::denied, "it is no file of this user");
    if (!text && text.error().kind == FailureKind::notFound) continue;
    // One that was written into is another one, though it is the file that is open.
    if (text && inPlace_ && found->inode != inPlace_->inode && isAsWritten(*text)) {
      inPlace_ = *found;
      continue;
    }
    ForeignIndex foreign = text ? VT_TRY(park(*text)) : ForeignIndex{IndexLoad::unreadable, {}};
    const bool stays = !allowsWrites(foreign.load);
    foreign_.push_back(std::move(foreign));
    if (stays) return failed(FailureKind::denied, "another program replaced it");
    inPlace_ = *found;
  }
}

Result<void> IndexStorage::write() {
  const bool canCopy = contentIsUnchanged();
  Assembly assembly(encodeIndexHead());
  std::vector<TextRun> places;
  places.reserve(items_.size());
  for (const auto& [entry, run] : items_) {
    if (canCopy && run.length > 0) {
      places.push_back(assembly.addItem(run));
    } else {
      places.push_back(assembly.addItem(json::toText(*entry)));
    }
  }
  for (const JSONValue& unread : rest_.unreadEntries) assembly.addItem(json::toText(unread));
  assembly.addText(encodeIndexTail(rest_));

  auto content = files_.replaceWithParts(paths_.index(), assembly.parts(content_.get()),
                                         Privacy::ownerOnly, [this] { return keepForeign(); });
  if (!content) {
    // When the old index can no longer be read, the next attempt does without it.
    if (content.error().kind == FailureKind::other) forgetRuns();
    (void)clearStaging(paths_.index());
    return std::unexpected(content.error());
  }
  const bool isSound = !canCopy || contentIsUnchanged();
  content_ = *std::move(content);
  const auto status = content_->status();
  contentStatus_ = status.value_or(FileStatus());
  inPlace_ = contentStatus_;
  for (std::size_t i = 0; i < items_.size(); ++i) items_[i].run = places[i];
  if (!isSound) {
    // Somebody wrote into the old index while it was being copied: what was copied may be anything.
    forgetRuns();
    return write();
  }
  settleFolder(files_, paths_.index().parent_path());
  return {};
}

}  // namespace vantorel
