#include "library/rewrite_journal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"
#include "library/parked_captures.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {

template <class V, class S>
void RewriteJournal::Item::describe(V& v, S& item) {
  v.required("id", item.id);
  v.required("old", item.old, json::asPath);
  v.field("oldFile", item.oldFile);
  v.field("made", item.made, json::asPath);
  v.field("madeFile", item.madeFile);
  v.field("newSize", item.newSize);
  v.field("original", item.original, json::asPath);
  v.rest(item.extra);
}
VT_JSON_RECORD(RewriteJournal::Item)

template <class V, class S>
void RewriteJournal::Left::describe(V& v, S& left) {
  v.required("path", left.path, json::asPath);
  v.required("file", left.file);
  v.field("other", left.other, json::asPath);
  v.field("otherFile", left.otherFile);
  v.rest(left.extra);
}
VT_JSON_RECORD(RewriteJournal::Left)

namespace {

using Item = RewriteJournal::Item;
using Left = RewriteJournal::Left;

struct StoredJournal {
  int version = journalVersion;
  std::vector<Item> items;
  std::vector<Left> left;
  std::vector<DoubtfulNames::Name> doubtful;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& journal) {
    describeJournalVersion(v, journal.version);
    v.required("items", journal.items);
    v.field("left", journal.left);
    v.field("doubtful", journal.doubtful);
    v.rest(journal.extra);
  }
};
VT_JSON_RECORD(StoredJournal)

Result<StoredJournal> fromStored(std::string_view text) {
  // Earlier builds wrote the items alone.
  if (auto items = json::fromText<std::vector<Item>>(text)) {
    StoredJournal journal;
    journal.items = *std::move(items);
    return journal;
  }
  return json::fromText<StoredJournal>(text);
}

bool isReadable(std::string_view text) { return fromStored(text).has_value(); }

/// An empty one when there is none, or none that can be read.
StoredJournal readJournal(const Files& files, const LibraryPaths& paths) {
  const auto text = files.read(paths.rewrites());
  auto stored = text ? fromStored(*text) : std::unexpected(text.error());
  return stored ? *std::move(stored) : StoredJournal();
}

/// Nothing when it is not there; fails when its disk does not answer.
Result<std::optional<FileStatus>> find(const Files& files, const Path& path) {
  const auto status = files.status(path);
  if (status) return *status;
  if (isUnanswered(status.error())) return std::unexpected(status.error());
  return std::nullopt;
}

/// Nothing also when its disk does not answer.
NotedPlace placeSeen(const Files& files, const Path& path, const std::optional<FileMark>& mark) {
  return placeOf(files, path, mark).value_or(NotedPlace::nothing);
}

}  // namespace

std::vector<Path> filesOfRewrites(const Files& files, const LibraryPaths& paths) {
  std::vector<Path> found;
  const StoredJournal journal = readJournal(files, paths);
  for (const Item& item : journal.items) {
    found.insert(found.end(), {Path(item.old), rewriteTemporary(item.old)});
    if (item.made) found.emplace_back(*item.made);
    if (item.original) found.emplace_back(*item.original);
  }
  return found;
}

std::set<Path> filesReplacedInPlace(const Files& files, const LibraryPaths& paths) {
  std::set<Path> found;
  for (const Item& item : readJournal(files, paths).items) {
    const auto status = item.newSize ? files.status(item.old) : Result<FileStatus>(FileStatus());
    if (item.newSize && status && static_cast<std::int64_t>(status->size) == *item.newSize) {
      found.insert(item.old);
    }
  }
  return found;
}

std::vector<Path> replacedFilesLeft(const Files& files, const LibraryPaths& paths) {
  std::vector<Path> found;
  const StoredJournal journal = readJournal(files, paths);
  for (const Left& left : journal.left) {
    const NotedPlace place = placeSeen(files, left.path, left.file);
    if (place == NotedPlace::same || place == NotedPlace::alike) found.emplace_back(left.path);
  }
  return found;
}

DoubtfulNames doubtfulNamesOfRewrites(const Files& files, const LibraryPaths& paths) {
  return {readJournal(files, paths).doubtful};
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
  if (unsettled_.empty() && doubtful_.isEmpty()) return;
  clearUp({}, entries);
  writeOrWarn();
}

void RewriteJournal::writeOrWarn() {
  if (const auto written = write(); !written) {
    logWarning("Rewrite", "the journal could not be written: {}", written.error().reason);
  }
}

Result<void> RewriteJournal::begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original) {
  learnEarlier();
  const bool isUnsettled = std::ranges::find(unsettled_, id, &Item::id) != unsettled_.end();
  if (isUnsettled || (original && doubtful_.contains(*original, clock_.now()))) {
    return failed(FailureKind::unreachable, inDoubtReason);
  }
  Item item{.id = id, .old = old.string(), .oldFile = markOf(files_, old)};
  // One that stands there already is not this rewrite's.
  if (original && !files_.status(*original)) item.original = original->string();
  items_.push_back(std::move(item));
  auto written = write();
  if (!written) items_.pop_back();
  return written;
}

Result<void> RewriteJournal::willMake(const std::string& id, const Path& made,
                                      const Path& temporary) {
  VT_TRY(files_.status(temporary));
  Item& item = *std::ranges::find(items_, id, &Item::id);
  item.made = made.string();
  item.madeFile = markOf(files_, temporary);
  return write();
}

Result<void> RewriteJournal::willReplace(const std::string& id, std::uint64_t bytes) {
  std::ranges::find(items_, id, &Item::id)->newSize = static_cast<std::int64_t>(bytes);
  return write();
}

RewriteJournal::Ended RewriteJournal::end(const std::string& id, const EntryList& entries) {
  const auto found = std::ranges::find(items_, id, &Item::id);
  if (found == items_.end()) return {};
  const std::string old = found->old;
  clearUp({*found}, entries);
  items_.erase(found);
  writeOrWarn();
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
  std::ranges::move(stored->items, std::back_inserter(unsettled_));
  std::ranges::move(stored->left, std::back_inserter(left_));
  doubtful_.names = std::move(stored->doubtful);
  extra_ = std::move(stored->extra);
}

Result<void> RewriteJournal::write() {
  VT_TRY(setAsideUnreadableJournal(files_, paths_.rewrites(), isReadable));
  if (items_.empty() && unsettled_.empty() && left_.empty() && doubtful_.isEmpty())
    return removeJournalFile(files_, paths_.rewrites());
  StoredJournal stored{
      .items = items_, .left = left_, .doubtful = doubtful_.names, .extra = extra_};
  std::ranges::copy(unsettled_, std::back_inserter(stored.items));
  return files_.replace(paths_.rewrites(), json::toText(stored), Privacy::ownerOnly);
}

/// The file was changed in place and its entry was not: the picture before is the one it tells of.
Result<void> RewriteJournal::putBack(const Item& item) {
  const Path old = item.old;
  const Path temporary = rewriteTemporary(old);
  const auto put = [&]() -> Result<void> {
    // Once it is gone, the removal before has been made.
    const bool mayGo = doubtful_.contains(old, clock_.now()) && VT_TRY(find(files_, old));
    if (mayGo) {
      return failed(FailureKind::unreachable, "its removal before may still be made");
    }
    VT_TRY(files_.copyNew(*item.original, temporary));
    VT_TRY(clear(old, item.oldFile));
    VT_TRY(files_.moveNew(temporary, old));
    return files_.flushFolder(temporary.parent_path());
  };
  const auto done = put();
  if (!done) {
    logWarning("Rewrite", "{} could not be put back: {}", *item.original, done.error().reason);
  }
  return done;
}

/// Something unfinished, of which nobody needs the name. Fails only when it is not known whether it
/// is gone.
Result<void> RewriteJournal::clearHalf(const Path& path) {
  auto removed = removeOrWarn(path);
  if (!removed && isUnanswered(removed.error())) return removed;
  return {};
}

/// Fails only when it is not known whether it is gone.
Result<void> RewriteJournal::clear(const Path& path, const std::optional<FileMark>& ofDisk) {
  auto removed = remove(path, ofDisk);
  if (!removed && isUnanswered(removed.error())) return removed;
  return {};
}

Result<void> RewriteJournal::remove(const Path& path, const std::optional<FileMark>& ofDisk) {
  auto removed = removeOrWarn(path, ofDisk);
  if (!removed && isUnanswered(removed.error())) doubtful_.add(path);
  return removed;
}

Result<void> RewriteJournal::removeOrWarn(const Path& path, const std::optional<FileMark>& ofDisk) {
  auto removed = files_.remove(path);
  const bool isMissing = !removed && removed.error().kind == FailureKind::notFound;
  if (isMissing && ofDisk && isDiskAway(files_, path.parent_path(), ofDisk->volume)) {
    removed = failed(FailureKind::unreachable, notConnectedReason);
  } else if (isMissing) {
    return {};
  }
  if (removed) return removed;
  logWarning("Rewrite", "{} could not be removed: {}", path.string(), removed.error().reason);
  return removed;
}

void RewriteJournal::leave(Left left) {
  std::erase_if(left_, [&](const Left& one) { return one.path == left.path; });
  left_.push_back(std::move(left));
}

void RewriteJournal::retryLeft(KnownFiles& named) {
  std::erase_if(left_, [&](const Left& left) {
    if (named.hasName(left.path)) return true;
    const auto place = placeOf(files_, left.path, left.file);
    if (!place) return false;
    const NotedPlace other =
        left.other ? placeSeen(files_, *left.other, left.otherFile) : NotedPlace::nothing;
    if (isCertain(*place, other)) return remove(left.path, left.file).has_value();
    return *place != NotedPlace::alike;
  });
}

struct RewriteJournal::Named {
  KnownFiles files;
  std::unordered_map<std::string_view, std::string_view> pathOf;  // of entries, by id
};

void RewriteJournal::clearUp(std::vector<Item> items, const EntryList& entries) {
  doubtful_.settle(files_, clock_.now());
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
  const auto isNamed = [&](const Item& item) { return named.pathOf.contains(item.id); };
  std::unordered_set<std::string> awaited;
  if (!std::ranges::all_of(items, isNamed)) awaited = pathsToSalvage(files_, paths_);
  for (Item& item : items) {
    // A repair of a damaged index will make it an entry again, with the one file or the other.
    const bool isAwaited = !isNamed(item) && (awaited.contains(item.old) ||
                                              (item.made && awaited.contains(*item.made)));
    if (isAwaited || !clearUp(item, named)) unsettled_.push_back(std::move(item));
  }
}

/// Fails when a disk does not answer. The half files go first: what the disk may still be about to
/// make is made of them, and comes to nothing without.
Result<void> RewriteJournal::clearUp(const Item& item, Named& named) {
  constexpr const char* inDoubt = "it isn't certain that it is the one that was made";
  VT_TRY(clearHalf(rewriteTemporary(item.old)));
  VT_TRY(clearHalf(stagingOf(item.old)));
  const NotedPlace old = VT_TRY(placeOf(files_, item.old, item.oldFile));
  const NotedPlace made =
      item.made ? VT_TRY(placeOf(files_, *item.made, item.madeFile)) : NotedPlace::nothing;
  if (item.made && !named.files.hasName(*item.made)) {
    if (isCertain(made, old)) {
      VT_TRY(clear(*item.made, item.madeFile));
    } else if (made == NotedPlace::alike) {
      leave({*item.made, *item.madeFile, item.old, item.oldFile, inDoubt});
    }
  }
  const auto path = named.pathOf.find(item.id);
  // What came between the original and the new file is needed until the entry names that one.
  const bool isReplaced = path != named.pathOf.end() && item.made && path->second == *item.made;
  if (isReplaced && !named.files.hasName(item.old)) {
    if (isCertain(old, made)) {
      const auto removed = remove(item.old, item.oldFile);
      if (!removed) {
        leave({item.old, *item.oldFile, item.made, item.madeFile, removed.error().reason});
      }
    } else if (old == NotedPlace::alike) {
      leave({item.old, *item.oldFile, item.made, item.madeFile, inDoubt});
    }
  }
  if (!item.original) return {};
  VT_TRY(clearHalf(temporaryBeside(*item.original, ".partial")));
  return clearOriginal(item, old, named);
}

/// The copy of the old file goes when that is as it was, or has been put back.
Result<void> RewriteJournal::clearOriginal(const Item& item, NotedPlace old, Named& named) {
  if (named.files.hasName(*item.original) || !VT_TRY(find(files_, *item.original))) return {};
  if (old == NotedPlace::same || old == NotedPlace::alike) return clear(*item.original);
  const auto path = named.pathOf.find(item.id);
  if (path == named.pathOf.end() || path->second != item.old) return {};
  // What somebody else wrote there meanwhile is nowhere else.
  const auto now = VT_TRY(find(files_, item.old));
  const bool isTheirs = now && item.oldFile && static_cast<std::int64_t>(now->size) != item.newSize;
  if (isTheirs) return {};
  const auto put = putBack(item);
  if (!put) return isUnanswered(put.error()) ? put : Result<void>();
  return clear(*item.original);
}

}  // namespace vantorel
