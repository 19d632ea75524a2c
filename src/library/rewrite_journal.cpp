#include "library/rewrite_journal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredItem {
  RewriteJournal::Item item;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.required("id", stored.item.id);
    v.required("old", stored.item.old, json::asPath);
    v.field("oldInode", stored.item.oldInode);
    v.field("made", stored.item.made, json::asPath);
    v.field("madeInode", stored.item.madeInode);
    v.field("original", stored.item.original, json::asPath);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredItem)

struct StoredLeft {
  std::string path;
  FileIdentity file;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.required("path", stored.path, json::asPath);
    v.required("file", stored.file);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredLeft)

struct StoredJournal {
  int version = 1;
  std::vector<StoredItem> items;
  std::vector<StoredLeft> left;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& journal) {
    describeJournalVersion(v, journal.version);
    v.required("items", journal.items);
    v.field("left", journal.left);
    v.rest(journal.extra);
  }
};
VT_JSON_RECORD(StoredJournal)

Result<StoredJournal> fromStored(std::string_view text) {
  // Earlier builds wrote the items alone.
  if (auto items = json::fromText<std::vector<StoredItem>>(text)) {
    return StoredJournal{.items = *std::move(items), .left = {}, .extra = {}};
  }
  return json::fromText<StoredJournal>(text);
}

bool isReadable(std::string_view text) { return fromStored(text).has_value(); }

std::optional<std::string> inodeOf(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return status ? std::optional(std::to_string(status->inode)) : std::nullopt;
}

bool isThere(const Files& files, const Path& path, const FileIdentity& file) {
  const auto found = identifyFile(files, path);
  return found && found->isSameFileAs(file);
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

std::vector<Path> replacedFilesLeft(const Files& files, const LibraryPaths& paths) {
  std::vector<Path> found;
  const auto text = files.read(paths.rewrites());
  const auto stored = text ? fromStored(*text) : std::unexpected(text.error());
  if (!stored) return found;
  for (const StoredLeft& left : stored->left) {
    if (isThere(files, left.path, left.file)) found.emplace_back(left.path);
  }
  return found;
}

Path rewriteTemporary(const Path& old) {
  return temporaryBeside(old.parent_path() / ("." + old.stem().string()), ".partial");
}

Result<void> RewriteJournal::begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original) {
  if (!std::exchange(knowsLeft_, true)) {
    if (const auto text = files_.read(paths_.rewrites())) learnLeft(*text);
  }
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

std::optional<RewriteJournal::Left> RewriteJournal::end(const std::string& id,
                                                        const EntryList& entries) {
  const auto found = std::ranges::find(items_, id, &Item::id);
  if (found == items_.end()) return std::nullopt;
  const std::string old = found->old;
  clearUp({*found}, entries);
  items_.erase(found);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be written: {}", written.error().reason);
  }
  const auto left = std::ranges::find(left_, old, &Left::path);
  return left == left_.end() ? std::nullopt : std::optional(*left);
}

void RewriteJournal::recover(const EntryList& entries) {
  const Path staging = stagingOf(paths_.rewrites());
  if (files_.status(staging)) (void)files_.remove(staging);
  const auto text = files_.read(paths_.rewrites());
  if (!text) return;
  std::vector<Item> items;
  if (auto stored = fromStored(*text)) {
    for (StoredItem& one : stored->items) items.push_back(std::move(one.item));
  }
  knowsLeft_ = true;
  learnLeft(*text);
  clearUp(items, entries);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be removed: {}", written.error().reason);
  }
}

void RewriteJournal::learnLeft(std::string_view journal) {
  auto stored = fromStored(journal);
  if (!stored) return;
  for (StoredLeft& one : stored->left) {
    left_.push_back({std::move(one.path), std::move(one.file)});
  }
}

Result<void> RewriteJournal::write() {
  VT_TRY(setAsideUnreadableJournal(files_, paths_.rewrites(), isReadable));
  if (items_.empty() && left_.empty()) return removeJournalFile(files_, paths_.rewrites());
  StoredJournal stored;
  for (const Item& item : items_) stored.items.push_back({item, {}});
  for (const Left& left : left_) stored.left.push_back({left.path, left.file, {}});
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

Result<void> RewriteJournal::remove(const Path& path) {
  auto removed = files_.remove(path);
  if (removed || removed.error().kind == FailureKind::notFound) return {};
  logWarning("Rewrite", "{} could not be removed: {}", path.string(), removed.error().reason);
  return removed;
}

void RewriteJournal::retryLeft(KnownFiles& named) {
  std::erase_if(left_, [&](const Left& left) {
    return named.hasName(left.path) || !isThere(files_, left.path, left.file) || remove(left.path);
  });
}

void RewriteJournal::clearUp(const std::vector<Item>& items, const EntryList& entries) {
  std::unordered_map<std::string_view, std::string_view> pathOf;
  for (const EntryPointer& entry : entries) pathOf.emplace(entry->id, entry->path);
  std::vector<std::string> asked;
  for (const Left& left : left_) asked.push_back(left.path);
  for (const Item& item : items) {
    asked.push_back(item.old);
    if (item.made) asked.push_back(*item.made);
    if (item.original) asked.push_back(*item.original);
  }
  KnownFiles named = filesCalledLike(files_, entries, asked);
  retryLeft(named);
  const auto isOwn = [&](const std::string& path, const std::optional<std::string>& inode) {
    return inode && !named.hasName(path) && inodeOf(files_, path) == inode;
  };
  for (const Item& item : items) {
    (void)remove(rewriteTemporary(item.old));
    (void)remove(stagingOf(item.old));
    if (item.made && isOwn(*item.made, item.madeInode)) (void)remove(*item.made);
    const auto path = pathOf.find(item.id);
    // What came between the original and the new file is needed until the entry names that one.
    if (path != pathOf.end() && item.made && path->second == *item.made &&
        isOwn(item.old, item.oldInode)) {
      const auto file = identifyFile(files_, item.old);
      const auto removed = remove(item.old);
      if (!removed && file) left_.push_back({item.old, *file, removed.error().reason});
    }
    if (!item.original) continue;
    (void)remove(temporaryBeside(*item.original, ".partial"));
    if (named.hasName(*item.original) || !files_.status(*item.original)) continue;
    const bool isUnchanged = item.oldInode && inodeOf(files_, item.old) == item.oldInode;
    const bool isListed = path != pathOf.end() && path->second == item.old;
    if (isUnchanged || (isListed && putBack(item))) (void)remove(*item.original);
  }
}

}  // namespace vantorel
