#include "library/entry_filter.hpp"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

namespace vantorel {
namespace {

bool contains(std::string_view text, std::string_view part) {
  const auto sameLetter = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  return !std::ranges::search(text, part, sameLetter).empty();
}

}  // namespace

bool EntryFilter::matches(const ScreenshotEntry& entry) const {
  if (medium && entry.medium != *medium) return false;
  if (starred && entry.starred != *starred) return false;
  if (since && entry.capturedAt < *since) return false;
  if (before && entry.capturedAt >= *before) return false;
  if (collectionID &&
      std::ranges::find(entry.collectionIDs, *collectionID) == entry.collectionIDs.end()) {
    return false;
  }
  if (application.empty()) return true;
  return entry.sourceApp && (contains(entry.sourceApp->name, application) ||
                             contains(entry.sourceApp->bundleID.value_or(""), application));
}

EntryList findEntries(const HistoryStore& store, const EntryFilter& filter, std::size_t limit) {
  const EntryList& all =
      filter.collectionID ? store.membersOf(*filter.collectionID).entries : store.newestFirst();
  EntryList found;
  for (const EntryPointer& entry : all) {
    if (found.size() >= limit) break;
    if (filter.matches(*entry)) found.push_back(entry);
  }
  return found;
}

EntryList findEntries(const HistoryStore& store, const std::vector<std::string>& ids) {
  EntryList found;
  for (const std::string& id : ids) {
    if (EntryPointer entry = store.find(id)) found.push_back(std::move(entry));
  }
  return found;
}

std::vector<std::string> idsOf(const EntryList& entries) {
  std::vector<std::string> ids;
  for (const EntryPointer& entry : entries) ids.push_back(entry->id);
  return ids;
}

Result<EntryList> resolveEntries(const HistoryStore& store, const std::vector<std::string>& names) {
  EntryList entries;
  std::set<const ScreenshotEntry*> seen;
  for (const std::string& name : names) {
    EntryPointer entry = VT_TRY(store.resolve(name));
    if (seen.insert(entry.get()).second) entries.push_back(std::move(entry));
  }
  return entries;
}

std::optional<std::string> refusalToLook(const HistoryStore& store) {
  return store.entries().empty() ? store.indexRefusal() : std::nullopt;
}

}  // namespace vantorel
