#include "library/deletion_journal.hpp"

#include <string_view>
#include <unordered_set>

#include "base/json_record.hpp"
#include "base/path_text.hpp"
#include "library/journal_file.hpp"
#include "library/stored_file_mark.hpp"

namespace vantorel {
namespace {

struct StoredItem {
  std::string id;
  StoredFileMark file;
  StoredFileMark original;
  std::optional<double> mayLandUntil;
  bool isGivenBack = false;
  json::Extra extra;

  template <class V, class S>
  static void describe(V& v, S& item) {
    v.required("id", item.id);
    v.field("file", item.file.number);
    v.field("fileSize", item.file.size);
    v.field("fileModified", item.file.modified);
    v.field("original", item.original.number);
    v.field("originalSize", item.original.size);
    v.field("originalModified", item.original.modified);
    v.field("mayLandUntil", item.mayLandUntil);
    v.field("isGivenBack", item.isGivenBack);
    v.rest(item.extra);
  }
};
VT_JSON_RECORD(StoredItem)

struct StoredJournal {
  int version = 1;
  std::vector<StoredItem> items;
  bool offersUndo = false;
  std::vector<std::string> surplus;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& journal) {
    describeJournalVersion(v, journal.version);
    v.required("items", journal.items);
    v.field("offersUndo", journal.offersUndo);
    v.field("surplus", journal.surplus, json::asPath);
    v.rest(journal.extra);
  }
};
VT_JSON_RECORD(StoredJournal)

std::optional<DeletionJournal> fromStored(std::string_view text) {
  DeletionJournal journal;
  // Earlier builds wrote the ids alone.
  if (const auto ids = json::fromText<std::vector<std::string>>(text)) {
    for (const std::string& id : *ids) journal.items.push_back({id});
    return journal;
  }
  auto stored = json::fromText<StoredJournal>(text);
  if (!stored) return std::nullopt;
  for (StoredItem& item : stored->items) {
    journal.items.push_back({std::move(item.id), item.file.mark(), item.original.mark(),
                             item.mayLandUntil, item.isGivenBack, std::move(item.extra)});
  }
  journal.offersUndo = stored->offersUndo;
  journal.surplus = std::move(stored->surplus);
  return journal;
}

bool isReadable(std::string_view text) { return fromStored(text).has_value(); }

}  // namespace

void DeletionJournal::append(const DeletionJournal& other) {
  std::unordered_set<std::string_view> renewed;
  for (const Item& item : other.items) renewed.insert(item.id);
  std::erase_if(items, [&](const Item& item) { return renewed.contains(item.id); });
  items.insert(items.end(), other.items.begin(), other.items.end());
  surplus.insert(surplus.end(), other.surplus.begin(), other.surplus.end());
  offersUndo |= other.offersUndo;
}

Result<void> writeDeletionJournal(Files& files, const LibraryPaths& paths,
                                  const DeletionJournal& journal) {
  VT_TRY(setAsideUnreadableJournal(files, paths.deletions(), isReadable));
  if (journal.isEmpty()) return removeJournalFile(files, paths.deletions());
  StoredJournal stored{
      .items = {}, .offersUndo = journal.offersUndo, .surplus = journal.surplus, .extra = {}};
  for (const DeletionJournal::Item& item : journal.items) {
    stored.items.push_back({item.id, StoredFileMark(item.file), StoredFileMark(item.original),
                            item.mayLandUntil, item.isGivenBack, item.extra});
  }
  return files.replace(paths.deletions(), json::toText(stored), Privacy::ownerOnly);
}

DeletionJournal readDeletionJournal(const Files& files, const LibraryPaths& paths) {
  const auto bytes = files.read(paths.deletions());
  if (!bytes) return {};
  return fromStored(*bytes).value_or(DeletionJournal{});
}

}  // namespace vantorel
