#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// The members of a collection, newest first, and how many of them are starred.
struct CollectionMembership {
  EntryList entries;
  std::size_t starredCount = 0;
};

/// Answers who has an id or a path, who is newest and who belongs where, without looking through
/// the library. Kept in step with the list by its owner, on whose runner it lives.
class EntryCaches {
 public:
  /// False when two entries have the same id: then the caches are of no use.
  [[nodiscard]] bool build(const EntryList& entries);
  void add(const EntryPointer& entry);
  void remove(const EntryPointer& entry);

  // Many at a time, in one pass over each list.
  void addAll(const EntryList& entries);
  void removeAll(const EntryList& entries);

  /// Both have the same id. Costs a look-up, however large the library is, unless the capture time
  /// or the collections change.
  void replace(const EntryPointer& before, const EntryPointer& after);

  /// Null when there is none.
  [[nodiscard]] EntryPointer byID(std::string_view id) const;

  /// How many ids begin so, in any case of ASCII letters, and the entry when it is just one.
  struct Prefixed {
    std::size_t count = 0;
    EntryPointer only;
  };
  [[nodiscard]] Prefixed byIDPrefix(std::string_view prefix) const;

  /// An entry whose file it is; null when there is none.
  [[nodiscard]] EntryPointer byPath(std::string_view path) const;

  /// By capture time, the newest first; of two taken at the same moment the one added later.
  [[nodiscard]] const EntryList& newestFirst() const { return newestFirst_; }

  [[nodiscard]] const CollectionMembership& membersOf(std::string_view collectionID) const;

 private:
  /// The beginning of an id as a number, so that numbers are in the order of the beginnings.
  struct Beginning {
    std::uint64_t number = 0;
    const ScreenshotEntry* entry = nullptr;  // lives as long as it is in `byID_`
  };
  [[nodiscard]] std::vector<Beginning>::iterator findBeginning(const EntryPointer& entry);

  using ByPath = std::unordered_multimap<std::string_view, EntryPointer>;
  [[nodiscard]] ByPath::iterator findPath(const EntryPointer& entry);

  void join(std::string_view collectionID, const EntryPointer& entry);
  void leave(std::string_view collectionID, const EntryPointer& entry);

  std::unordered_map<std::string_view, EntryPointer> byID_;  // keys live in the entries
  std::vector<Beginning> beginnings_;                        // sorted
  ByPath byPath_;
  EntryList newestFirst_;
  std::map<std::string, CollectionMembership, std::less<>> members_;
};

}  // namespace vantorel
