#include "library/deletion_journal.hpp"

#include <cstdlib>
#include <string_view>
#include <unordered_set>

#include "base/json_record.hpp"
#include "base/path_text.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredItem {
  std::string id;
  std::optional<std::string> file;
  std::optional<std::string> original;
  std::optional<double> mayLandUntil;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& item) {
    v.required("id", item.id);
    v.field("file", item.file);
    v.field("original", item.original);
    v.field("mayLandUntil", item.mayLandUntil);
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

// As text: not every inode fits into the numbers of JSON.
std::string toText(std::uint64_t inode) { return std::to_string(inode); }

std::uint64_t fromText(const std::string& inode) {
  return std::strtoull(inode.c_str(), nullptr, 10);
}

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
    journal.items.push_back({std::move(item.id), item.file.transform(fromText),
                             item.original.transform(fromText), item.mayLandUntil});
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
    stored.items.push_back({item.id,
                            item.file.transform(toText),
                            item.original.transform(toText),
                            item.mayLandUntil,
                            {}});
  }
  return files.replace(paths.deletions(), json::toText(stored), Privacy::ownerOnly);
}

DeletionJournal readDeletionJournal(const Files& files, const LibraryPaths& paths) {
  const auto bytes = files.read(paths.deletions());
  if (!bytes) return {};
  return fromStored(*bytes).value_or(DeletionJournal{});
}

}  // namespace vantorel
