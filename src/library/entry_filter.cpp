#include "library/entry_filter.hpp"

#include <algorithm>
#include <cctype>

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

}  // namespace vantorel
