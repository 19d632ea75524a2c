#include "library/pending_undo.hpp"

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/earlier_mark.hpp"
#include "library/history_log.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredItem {
  ScreenshotEntry entry;
  std::int64_t index = 0;
  std::optional<std::string> trashedPNGURL;
  std::optional<std::string> trashedOriginalURL;
  bool isUntracked = false;
  std::optional<double> mayLandUntil;
  std::optional<FileMark> originalMark;
  std::optional<double> originalMayLandUntil;
  json::Extra extra;

  template <class V, class S>
  static void describe(V& v, S& item) {
    v.required("entry", item.entry);
    v.field("index", item.index);
    v.field("trashedPNGURL", item.trashedPNGURL, json::asPath);
    v.field("trashedOriginalURL", item.trashedOriginalURL, json::asPath);
    v.field("isUntracked", item.isUntracked);
    v.field("mayLandUntil", item.mayLandUntil);
    readEarlierMark(v, "original", item.originalMark);
    v.field("originalMark", item.originalMark);
    v.field("originalMayLandUntil", item.originalMayLandUntil);
    v.rest(item.extra);
  }
};
VT_JSON_RECORD(StoredItem)

struct StoredUndo {
  int version = journalVersion;
  double until = 0;
  bool isBegun = false;
  std::vector<StoredItem> items;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& undo) {
    describeJournalVersion(v, undo.version);
    v.required("until", undo.until);
    v.field("isBegun", undo.isBegun);
    v.required("items", undo.items);
    v.rest(undo.extra);
  }
};
VT_JSON_RECORD(StoredUndo)

std::string toText(const Path& path) { return path.string(); }

Path fromText(const std::string& path) { return path; }

bool isReadable(std::string_view text) { return json::fromText<StoredUndo>(text).has_value(); }

}  // namespace

double undoDeadline(const Clock& clock) {
  return clock.now() + std::chrono::duration<double>(undoWindow).count();
}

Result<void> writePendingUndo(Files& files, const LibraryPaths& paths, const PendingUndo& pending) {
  VT_TRY(setAsideUnreadableJournal(files, paths.pendingUndo(), isReadable));
  StoredUndo stored{.until = pending.until, .isBegun = pending.isBegun, .items = {}, .extra = {}};
  for (const RemovedEntry& item : pending.batch.items) {
    stored.items.push_back(
        {*item.entry, static_cast<std::int64_t>(item.index), item.trashedPNGURL.transform(toText),
         item.trashedOriginalURL.transform(toText), item.isUntracked, item.mayLandUntil,
         item.originalMark, item.originalMayLandUntil, item.extra});
  }
  return files.replace(paths.pendingUndo(), json::toText(stored), Privacy::ownerOnly);
}

void logUndoNotKept(const Failure& failure) {
  logWarning(historyLog, "the undo was not kept: {}", failure.reason);
}

Result<void> removePendingUndo(Files& files, const LibraryPaths& paths) {
  VT_TRY(setAsideUnreadableJournal(files, paths.pendingUndo(), isReadable));
  return removeJournalFile(files, paths.pendingUndo());
}

std::optional<PendingUndo> readPendingUndo(const Files& files, const LibraryPaths& paths) {
  const auto text = files.read(paths.pendingUndo());
  if (!text) return std::nullopt;
  auto stored = json::fromText<StoredUndo>(*text);
  if (!stored) return std::nullopt;
  PendingUndo pending{{}, stored->until, stored->isBegun};
  for (StoredItem& item : stored->items) {
    if (item.index < 0) continue;
    pending.batch.items.push_back(
        {.entry = std::make_shared<const ScreenshotEntry>(std::move(item.entry)),
         .index = static_cast<std::size_t>(item.index),
         .trashedPNGURL = item.trashedPNGURL.transform(fromText),
         .trashedOriginalURL = item.trashedOriginalURL.transform(fromText),
         .isUntracked = item.isUntracked,
         .mayLandUntil = item.mayLandUntil,
         .originalMark = std::move(item.originalMark),
         .originalMayLandUntil = item.originalMayLandUntil,
         .extra = std::move(item.extra)});
  }
  return pending;
}

}  // namespace vantorel
