#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/json_value.hpp"
#include "base/result.hpp"
#include "library/records/history_collection.hpp"
#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// The library's whole state as it stands in the index. Copying costs a pointer an entry.
struct HistoryIndexFile {
  /// This build writes this version and reads all up to it.
  static constexpr int currentVersion = 4;

  int version = currentVersion;
  EntryList entries;
  std::vector<HistoryCollection> collections;
  json::Object extra;  ///< top-level keys this build does not know

  /// Items that this build cannot read, as they stood: shown nowhere, written back, so that the
  /// build that can read them finds them.
  std::vector<JSONValue> unreadEntries;
  std::vector<JSONValue> unreadCollections;
};

/// What reading an index text came to.
struct DecodedIndex {
  /// When greater than `currentVersion` nothing else was read.
  int version = 0;
  HistoryIndexFile file;

  /// What is in memory differs from the text in more than its form.
  bool changedByReading = false;
};

/// Fails with `malformed` when the text is not an index at all: then nothing of it counts.
[[nodiscard]] Result<DecodedIndex> decodeIndex(std::string text);

/// Compact, in the order version, entries, collections, unknown keys.
[[nodiscard]] std::string encodeIndex(const HistoryIndexFile& file);

}  // namespace vantorel
