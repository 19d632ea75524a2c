#include "library/deletion_journal.hpp"

#include <string_view>
#include <unordered_set>

#include "base/json_record.hpp"
#include "base/path_text.hpp"
#include "library/earlier_mark.hpp"
#include "library/journal_file.hpp"

namespace vantorel {

template <class V, class S>
void DeletionJournal::Item::describe(V& v, S& item) {
  v.required("id", item.id);
  readEarlierMark(v, "file", item.file);
  readEarlierMark(v, "original", item.original);
  v.field("fileMark", item.file);
  v.field("originalMark", item.original);
  v.field("mayLandUntil", item.mayLandUntil);
  v.field("isGivenBack", item.isGivenBack);
  v.rest(item.extra);
}
VT_JSON_RECORD(DeletionJournal::Item)

namespace {

struct StoredJournal {
  int version = journalVersion;
  std::vector<DeletionJournal::Item> items;
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
  journal.items = std::move(stored->items);
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
  const StoredJournal stored{.items = journal.items,
                             .offersUndo = journal.offersUndo,
                             .surplus = journal.surplus,
                             .extra = {}};
  return files.replace(paths.deletions(), json::toText(stored), Privacy::ownerOnly);
}

DeletionJournal readDeletionJournal(const Files& files, const LibraryPaths& paths) {
  const auto bytes = files.read(paths.deletions());
  if (!bytes) return {};
  return fromStored(*bytes).value_or(DeletionJournal{});
}

}  // namespace vantorel
