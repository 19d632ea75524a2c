#include "library/entry_caches.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <unordered_set>

namespace vantorel {
namespace {

bool isStarred(const EntryPointer& entry) { return entry->starred; }

bool isNewer(const EntryPointer& a, const EntryPointer& b) { return a->capturedAt > b->capturedAt; }

/// Before all that are not newer: what is added later comes first among equals.
void insertSorted(EntryList& list, const EntryPointer& entry) {
  list.insert(std::ranges::lower_bound(list, entry, isNewer), entry);
}

EntryList::iterator findSorted(EntryList& list, const EntryPointer& entry) {
  const auto [begin, end] = std::ranges::equal_range(list, entry, isNewer);
  return std::find(begin, end, entry);
}

void eraseSorted(EntryList& list, const EntryPointer& entry) {
  const auto found = findSorted(list, entry);
  if (found != list.end() && *found == entry) list.erase(found);
}

/// From so many on one pass over everything costs less than a search for each.
constexpr std::size_t manyEntries = 16;

/// A collection named twice by an entry counts once.
std::set<std::string_view> collectionsOf(const EntryPointer& entry) {
  return {entry->collectionIDs.begin(), entry->collectionIDs.end()};
}

unsigned char lowered(char letter) {
  const auto byte = static_cast<unsigned char>(letter);
  return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + ('a' - 'A')) : byte;
}

constexpr std::size_t beginningSize = sizeof(std::uint64_t);

/// `filler` stands for what is missing of a short id.
std::uint64_t firstBytesOf(std::string_view id, unsigned char filler) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < beginningSize; ++i) {
    number = number << 8 | (i < id.size() ? lowered(id[i]) : filler);
  }
  return number;
}

bool beginsWith(std::string_view id, std::string_view prefix) {
  return id.size() >= prefix.size() &&
         std::ranges::equal(id.substr(0, prefix.size()), prefix, {}, lowered, lowered);
}

}  // namespace

bool EntryCaches::build(const EntryList& entries) {
  *this = {};
  byID_.reserve(entries.size());
  beginnings_.reserve(entries.size());
  byPath_.reserve(entries.size());
  newestFirst_.assign(entries.rbegin(), entries.rend());
  if (!std::ranges::is_sorted(newestFirst_, isNewer)) {
    std::ranges::stable_sort(newestFirst_, isNewer);
  }
  for (const EntryPointer& entry : newestFirst_) {
    if (!byID_.emplace(entry->id, entry).second) return false;
    beginnings_.push_back({firstBytesOf(entry->id, 0), entry.get()});
    byPath_.emplace(entry->path, entry);
    for (const std::string_view id : collectionsOf(entry)) {
      CollectionMembership& membership = members_[std::string(id)];
      membership.entries.push_back(entry);
      if (entry->starred) ++membership.starredCount;
    }
  }
  std::ranges::sort(beginnings_, {}, &Beginning::number);
  return true;
}

void EntryCaches::add(const EntryPointer& entry) {
  byID_.emplace(entry->id, entry);
  const std::uint64_t beginning = firstBytesOf(entry->id, 0);
  beginnings_.insert(std::ranges::lower_bound(beginnings_, beginning, {}, &Beginning::number),
                     {beginning, entry.get()});
  byPath_.emplace(entry->path, entry);
  insertSorted(newestFirst_, entry);
  for (const std::string_view id : collectionsOf(entry)) join(id, entry);
}

void EntryCaches::join(std::string_view collectionID, const EntryPointer& entry) {
  CollectionMembership& membership = members_[std::string(collectionID)];
  insertSorted(membership.entries, entry);
  if (entry->starred) ++membership.starredCount;
}

void EntryCaches::leave(std::string_view collectionID, const EntryPointer& entry) {
  const auto found = members_.find(collectionID);
  if (found == members_.end()) return;
  eraseSorted(found->second.entries, entry);
  if (entry->starred) --found->second.starredCount;
  if (found->second.entries.empty()) members_.erase(found);
}

std::vector<EntryCaches::Beginning>::iterator EntryCaches::findBeginning(
    const EntryPointer& entry) {
  const auto range =
      std::ranges::equal_range(beginnings_, firstBytesOf(entry->id, 0), {}, &Beginning::number);
  const auto found = std::ranges::find(range, entry.get(), &Beginning::entry);
  return found == range.end() ? beginnings_.end() : found;
}

EntryCaches::ByPath::iterator EntryCaches::findPath(const EntryPointer& entry) {
  const auto [begin, end] = byPath_.equal_range(entry->path);
  const auto found = std::ranges::find(begin, end, entry, &ByPath::value_type::second);
  return found == end ? byPath_.end() : found;
}

void EntryCaches::remove(const EntryPointer& entry) {
  if (const auto found = findBeginning(entry); found != beginnings_.end()) beginnings_.erase(found);
  byID_.erase(entry->id);
  if (const auto found = findPath(entry); found != byPath_.end()) byPath_.erase(found);
  eraseSorted(newestFirst_, entry);
  for (const std::string_view id : collectionsOf(entry)) leave(id, entry);
}

// As if they were added one by one: of two taken at the same moment the later one comes first.
void EntryCaches::addAll(const EntryList& entries) {
  if (entries.size() < manyEntries) {
    for (const EntryPointer& entry : entries) add(entry);
    return;
  }
  EntryList added(entries.rbegin(), entries.rend());
  std::ranges::stable_sort(added, isNewer);
  EntryList merged;
  merged.reserve(newestFirst_.size() + added.size());
  std::ranges::merge(added, newestFirst_, std::back_inserter(merged), isNewer);
  newestFirst_ = std::move(merged);
  const auto middle = static_cast<std::ptrdiff_t>(beginnings_.size());
  std::map<std::string_view, EntryList> byCollection;
  for (const EntryPointer& entry : added) {
    byID_.emplace(entry->id, entry);
    byPath_.emplace(entry->path, entry);
    beginnings_.push_back({firstBytesOf(entry->id, 0), entry.get()});
    for (const std::string_view id : collectionsOf(entry)) byCollection[id].push_back(entry);
  }
  const auto newBeginnings = beginnings_.begin() + middle;
  std::ranges::sort(newBeginnings, beginnings_.end(), {}, &Beginning::number);
  std::ranges::inplace_merge(beginnings_, newBeginnings, {}, &Beginning::number);
  for (const auto& [id, members] : byCollection) {
    CollectionMembership& membership = members_[std::string(id)];
    EntryList all;
    std::ranges::merge(members, membership.entries, std::back_inserter(all), isNewer);
    membership.entries = std::move(all);
    membership.starredCount += static_cast<std::size_t>(std::ranges::count_if(members, isStarred));
  }
}

void EntryCaches::removeAll(const EntryList& entries) {
  if (entries.size() < manyEntries) {
    for (const EntryPointer& entry : entries) remove(entry);
    return;
  }
  std::unordered_set<const ScreenshotEntry*> gone;
  std::set<std::string, std::less<>> collections;
  for (const EntryPointer& entry : entries) {
    gone.insert(entry.get());
    for (const std::string_view id : collectionsOf(entry)) collections.emplace(id);
  }
  const auto isGone = [&](const EntryPointer& entry) { return gone.contains(entry.get()); };
  std::erase_if(newestFirst_, isGone);
  std::erase_if(beginnings_, [&](const Beginning& one) { return gone.contains(one.entry); });
  for (const std::string& id : collections) {
    const auto found = members_.find(id);
    if (found == members_.end()) continue;
    std::erase_if(found->second.entries, isGone);
    found->second.starredCount =
        static_cast<std::size_t>(std::ranges::count_if(found->second.entries, isStarred));
    if (found->second.entries.empty()) members_.erase(found);
  }
  for (const EntryPointer& entry : entries) {
    byID_.erase(entry->id);
    const auto [begin, end] = byPath_.equal_range(entry->path);
    const auto path =
        std::find_if(begin, end, [&](const auto& pair) { return pair.second == entry; });
    if (path != end) byPath_.erase(path);
  }
}

void EntryCaches::replace(const EntryPointer& before, const EntryPointer& after) {
  if (before->capturedAt != after->capturedAt) {
    remove(before);
    add(after);
    return;
  }
  // In place: nothing is shifted, and the order among captures of the same moment stays.
  if (const auto found = findBeginning(before); found != beginnings_.end()) {
    found->entry = after.get();
  }
  auto byID = byID_.extract(before->id);
  byID.key() = after->id;
  byID.mapped() = after;
  byID_.insert(std::move(byID));
  auto byPath = byPath_.extract(findPath(before));
  byPath.key() = after->path;
  byPath.mapped() = after;
  byPath_.insert(std::move(byPath));
  *findSorted(newestFirst_, before) = after;
  const auto were = collectionsOf(before);
  const auto are = collectionsOf(after);
  for (const std::string_view id : were) {
    if (!are.contains(id)) {
      leave(id, before);
      continue;
    }
    CollectionMembership& membership = members_.find(id)->second;
    *findSorted(membership.entries, before) = after;
    if (before->starred) --membership.starredCount;
    if (after->starred) ++membership.starredCount;
  }
  for (const std::string_view id : are) {
    if (!were.contains(id)) join(id, after);
  }
}

EntryPointer EntryCaches::byID(std::string_view id) const {
  const auto found = byID_.find(id);
  return found == byID_.end() ? nullptr : found->second;
}

EntryCaches::Prefixed EntryCaches::byIDPrefix(std::string_view prefix) const {
  const auto first =
      std::ranges::lower_bound(beginnings_, firstBytesOf(prefix, 0), {}, &Beginning::number);
  const auto last = std::ranges::upper_bound(first, beginnings_.end(), firstBytesOf(prefix, 0xFF),
                                             {}, &Beginning::number);
  Prefixed found;
  const ScreenshotEntry* only = nullptr;
  for (auto at = first; at != last; ++at) {
    if (!beginsWith(at->entry->id, prefix)) continue;
    only = at->entry;
    ++found.count;
  }
  if (found.count == 1) found.only = byID(only->id);
  return found;
}

EntryPointer EntryCaches::byPath(std::string_view path) const {
  const auto found = byPath_.find(path);
  return found == byPath_.end() ? nullptr : found->second;
}

const CollectionMembership& EntryCaches::membersOf(std::string_view collectionID) const {
  static const CollectionMembership none;
  const auto found = members_.find(collectionID);
  return found == members_.end() ? none : found->second;
}

}  // namespace vantorel
