#include "library/rewrite_journal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"
#include "library/unanswered_change.hpp"

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

/// Nothing when it is not there; fails when its disk does not answer.
Result<std::optional<FileStatus>> find(const Files& files, const Path& path) {
  const auto status = files.status(path);
  if (status) return *status;
  if (isUnanswered(status.error())) return std::unexpected(status.error());
  return std::nullopt;
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

void RewriteJournal::learnEarlier() {
  if (std::exchange(knowsEarlier_, true)) return;
  if (const auto text = files_.read(paths_.rewrites())) learn(*text);
}

void RewriteJournal::settle(const EntryList& entries) {
  learnEarlier();
  if (unsettled_.empty()) return;
  clearUp({}, entries);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be written: {}", written.error().reason);
  }
}

Result<void> RewriteJournal::begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original) {
  learnEarlier();
  if (const auto earlier = std::ranges::find(unsettled_, id, &Item::id);
      earlier != unsettled_.end()) {
    return failed(FailureKind::unreachable,
                  "it isn't known yet what came of the change before, since its disk does not "
                  "answer");
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

RewriteJournal::Ended RewriteJournal::end(const std::string& id, const EntryList& entries) {
  const auto found = std::ranges::find(items_, id, &Item::id);
  if (found == items_.end()) return {};
  const std::string old = found->old;
  clearUp({*found}, entries);
  items_.erase(found);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be written: {}", written.error().reason);
  }
  const auto left = std::ranges::find(left_, old, &Left::path);
  return {left == left_.end() ? std::nullopt : std::optional(*left),
          std::ranges::find(unsettled_, id, &Item::id) != unsettled_.end()};
}

void RewriteJournal::recover(const EntryList& entries) {
  const Path staging = stagingOf(paths_.rewrites());
  if (files_.status(staging)) (void)files_.remove(staging);
  const auto text = files_.read(paths_.rewrites());
  if (!text) return;
  knowsEarlier_ = true;
  learn(*text);
  clearUp({}, entries);
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be removed: {}", written.error().reason);
  }
}

void RewriteJournal::learn(std::string_view journal) {
  auto stored = fromStored(journal);
  if (!stored) return;
  for (StoredItem& one : stored->items) unsettled_.push_back(std::move(one.item));
  for (StoredLeft& one : stored->left) {
    left_.push_back({std::move(one.path), std::move(one.file)});
  }
}

Result<void> RewriteJournal::write() {
  VT_TRY(setAsideUnreadableJournal(files_, paths_.rewrites(), isReadable));
  if (items_.empty() && unsettled_.empty() && left_.empty())
    return removeJournalFile(files_, paths_.rewrites());
  StoredJournal stored;
  for (const Item& item : items_) stored.items.push_back({item, {}});
  for (const Item& item : unsettled_) stored.items.push_back({item, {}});
  for (const Left& left : left_) stored.left.push_back({left.path, left.file, {}});
  return files_.replace(paths_.rewrites(), json::toText(stored), Privacy::ownerOnly);
}

/// The file was changed in place and its entry was not: the picture before is the one it tells of.
Result<void> RewriteJournal::putBack(const Item& item) {
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
  return done;
}

/// Fails only when it is not known whether it is gone.
Result<void> RewriteJournal::clear(const Path& path) {
  auto removed = remove(path);
  if (!removed && isUnanswered(removed.error())) return removed;
  return {};
}

Result<void> RewriteJournal::remove(const Path& path) {
  auto removed = files_.remove(path);
  if (removed || removed.error().kind == FailureKind::notFound) return {};
  logWarning("Rewrite", "{} could not be removed: {}", path.string(), removed.error().reason);
  return removed;
}

void RewriteJournal::retryLeft(KnownFiles& named) {
  std::erase_if(left_, [&](const Left& left) {
    if (named.hasName(left.path)) return true;
    if (!find(files_, left.path)) return false;
    return !isThere(files_, left.path, left.file) || remove(left.path);
  });
}

struct RewriteJournal::Named {
  KnownFiles files;
  std::unordered_map<std::string_view, std::string_view> pathOf;  // of entries, by id
};

void RewriteJournal::clearUp(std::vector<Item> items, const EntryList& entries) {
  std::ranges::move(std::exchange(unsettled_, {}), std::back_inserter(items));
  std::vector<std::string> asked;
  for (const Left& left : left_) asked.push_back(left.path);
  for (const Item& item : items) {
    asked.push_back(item.old);
    if (item.made) asked.push_back(*item.made);
    if (item.original) asked.push_back(*item.original);
  }
  Named named{filesCalledLike(files_, entries, asked), {}};
  for (const EntryPointer& entry : entries) named.pathOf.emplace(entry->id, entry->path);
  retryLeft(named.files);
  for (Item& item : items) {
    if (!clearUp(item, named)) unsettled_.push_back(std::move(item));
  }
}

/// Fails when a disk does not answer. The half files go first: what the disk may still be about to
/// make is made of them, and comes to nothing without.
Result<void> RewriteJournal::clearUp(const Item& item, Named& named) {
  const auto has = [&](const std::string& path,
                       const std::optional<std::string>& inode) -> Result<bool> {
    const auto status = VT_TRY(find(files_, path));
    return inode && status && std::to_string(status->inode) == inode;
  };
  const auto isOwn = [&](const std::string& path,
                         const std::optional<std::string>& inode) -> Result<bool> {
    return VT_TRY(has(path, inode)) && !named.files.hasName(path);
  };
  VT_TRY(clear(rewriteTemporary(item.old)));
  VT_TRY(clear(stagingOf(item.old)));
  if (item.made && VT_TRY(isOwn(*item.made, item.madeInode))) VT_TRY(clear(*item.made));
  const auto path = named.pathOf.find(item.id);
  // What came between the original and the new file is needed until the entry names that one.
  if (path != named.pathOf.end() && item.made && path->second == *item.made &&
      VT_TRY(isOwn(item.old, item.oldInode))) {
    const auto file = identifyFile(files_, item.old);
    const auto removed = remove(item.old);
    if (!removed && file) left_.push_back({item.old, *file, removed.error().reason});
  }
  if (!item.original) return {};
  VT_TRY(clear(temporaryBeside(*item.original, ".partial")));
  if (named.files.hasName(*item.original) || !VT_TRY(find(files_, *item.original))) return {};
  const bool isListed = path != named.pathOf.end() && path->second == item.old;
  if (!VT_TRY(has(item.old, item.oldInode))) {
    if (!isListed) return {};
    const auto put = putBack(item);
    if (!put) return isUnanswered(put.error()) ? put : Result<void>();
  }
  return clear(*item.original);
}

}  // namespace vantorel
