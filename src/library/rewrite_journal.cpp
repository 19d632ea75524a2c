#include "library/rewrite_journal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "library/entry_paths.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredItem {
  RewriteJournal::Item item;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.required("id", stored.item.id);
    v.required("old", stored.item.old);
    v.field("oldInode", stored.item.oldInode);
    v.field("made", stored.item.made);
    v.field("madeInode", stored.item.madeInode);
    v.field("original", stored.item.original);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredItem)

struct StoredJournal {
  int version = 1;
  std::vector<StoredItem> items;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& journal) {
    describeJournalVersion(v, journal.version);
    v.required("items", journal.items);
    v.rest(journal.extra);
  }
};
VT_JSON_RECORD(StoredJournal)

Result<StoredJournal> fromStored(std::string_view text) {
  // Earlier builds wrote the items alone.
  if (auto items = json::fromText<std::vector<StoredItem>>(text)) {
    return StoredJournal{.items = *std::move(items), .extra = {}};
  }
  return json::fromText<StoredJournal>(text);
}

bool isReadable(std::string_view text) { return fromStored(text).has_value(); }

std::optional<std::string> inodeOf(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return status ? std::optional(std::to_string(status->inode)) : std::nullopt;
}

Path withSuffix(Path path, std::string_view suffix) {
  path += suffix;
  return path;
}

}  // namespace

std::vector<Path> filesOfRewrites(const Files& files, const LibraryPaths& paths) {
  std::vector<Path> found;
  const auto text = files.read(paths.rewrites());
  const auto stored = text ? fromStored(*text) : std::unexpected(text.error());
  if (!stored) return found;
  for (const auto& [item, extra] : stored->items) {
    found.insert(found.end(), {Path(item.old), rewriteTemporary(item.old)});
    if (item.made) found.emplace_back(*item.made);
    if (item.original) found.emplace_back(*item.original);
  }
  return found;
}

Path rewriteTemporary(const Path& old) {
  return old.parent_path() / fmt::format(".{}.partial", old.stem().string());
}

Result<void> RewriteJournal::begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original) {
  Item item{id, old.string(), inodeOf(files_, old)};
  // One that stands there already is not this rewrite's.
  if (original && !files_.status(*original)) item.original = original->string();
  items_.push_back(std::move(item));
  auto written = write();
  if (!written) items_.pop_back();
  return written;
}

Result<void> RewriteJournal::willMake(const std::string& id, const Path& made,
                                      std::uint64_t inode) {
  const auto found = std::ranges::find(items_, id, &Item::id);
  found->made = made.string();
  found->madeInode = std::to_string(inode);
  return write();
}

void RewriteJournal::end(const std::string& id, const EntryList& entries) {
  const auto found = std::ranges::find(items_, id, &Item::id);
  if (found == items_.end()) return;
  clearUp({*found}, entries);
  items_.erase(found);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be written: {}", written.error().reason);
  }
}

void RewriteJournal::recover(const EntryList& entries) {
  const Path staging = withSuffix(paths_.rewrites(), ".staging");
  if (files_.status(staging)) (void)files_.remove(staging);
  const auto text = files_.read(paths_.rewrites());
  if (!text) return;
  std::vector<Item> items;
  if (auto stored = fromStored(*text)) {
    for (StoredItem& one : stored->items) items.push_back(std::move(one.item));
  }
  clearUp(items, entries);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be removed: {}", written.error().reason);
  }
}

Result<void> RewriteJournal::write() {
  VT_TRY(setAsideUnreadableJournal(files_, paths_.rewrites(), isReadable));
  if (items_.empty()) return removeJournalFile(files_, paths_.rewrites());
  StoredJournal stored;
  for (const Item& item : items_) stored.items.push_back({item, {}});
  return files_.replace(paths_.rewrites(), json::toText(stored), Privacy::ownerOnly);
}

/// The file was changed in place and its entry was not: the picture before is the one it tells of.
bool RewriteJournal::putBack(const Item& item) {
  const Path temporary = rewriteTemporary(item.old);
  const auto put = [&]() -> Result<void> {
    VT_TRY(files_.copyNew(*item.original, temporary));
    if (auto gone = files_.remove(item.old); !gone && gone.error().kind != FailureKind::notFound) {
      return gone;
    }
    VT_TRY(files_.moveNew(temporary, item.old));
    return files_.flushFolder(temporary.parent_path());
  };
  const auto done = put();
  if (!done) {
    logWarning("Rewrite", "{} could not be put back: {}", *item.original, done.error().reason);
  }
  return done.has_value();
}

void RewriteJournal::clearUp(const std::vector<Item>& items, const EntryList& entries) {
  std::unordered_map<std::string_view, std::string_view> pathOf;
  std::unordered_set<std::string_view> named;
  for (const EntryPointer& entry : entries) {
    pathOf.emplace(entry->id, entry->path);
    forEachPath(*entry, [&](const std::string& path) { named.insert(path); });
  }
  const auto remove = [this](const Path& path) {
    const auto removed = files_.remove(path);
    if (!removed && removed.error().kind != FailureKind::notFound) {
      logWarning("Rewrite", "{} could not be removed: {}", path.string(), removed.error().reason);
    }
  };
  const auto removeOwn = [&](const std::optional<std::string>& path,
                             const std::optional<std::string>& inode) {
    if (path && inode && !named.contains(*path) && inodeOf(files_, *path) == inode) remove(*path);
  };
  for (const Item& item : items) {
    remove(rewriteTemporary(item.old));
    remove(withSuffix(item.old, ".staging"));
    removeOwn(item.made, item.madeInode);
    const auto path = pathOf.find(item.id);
    // What came between the original and the new file is needed until the entry names that one.
    if (path != pathOf.end() && item.made && path->second == *item.made) {
      removeOwn(item.old, item.oldInode);
    }
    if (!item.original) continue;
    remove(withSuffix(*item.original, ".partial"));
    if (named.contains(*item.original) || !files_.status(*item.original)) continue;
    const bool isUnchanged = item.oldInode && inodeOf(files_, item.old) == item.oldInode;
    const bool isListed = path != pathOf.end() && path->second == item.old;
    if (isUnchanged || (isListed && putBack(item))) remove(*item.original);
  }
}

}  // namespace vantorel
