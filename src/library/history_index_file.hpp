#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/json_value.hpp"
#include "base/result.hpp"
#include "library/index_outline.hpp"
#include "library/records/history_collection.hpp"
#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// The library's whole state as it stands in the index.
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
  HistoryIndexFile file;  ///< with a `version` greater than `currentVersion` nothing else was read

  /// Where each of `file.entries` stands in the text; a length of 0 when that is not known.
  std::vector<TextRun> runs;
};

/// Fails with `malformed` when the text is not an index at all: then nothing of it counts; other
/// kinds are those of `source`. Uses all processors for a large one, and never holds all of the
/// text.
[[nodiscard]] Result<DecodedIndex> decodeIndex(const TextSource& source);
[[nodiscard]] Result<DecodedIndex> decodeIndex(std::string_view text);

/// Every absolute path that stands anywhere in `value`, under whatever key: the files that an item
/// may need which this build cannot read.
[[nodiscard]] std::vector<std::string> pathsIn(const JSONValue& value);

// An index is written as its head, the entries with commas between them, and its tail.
[[nodiscard]] std::string encodeIndexHead();
[[nodiscard]] std::string encodeIndexTail(const HistoryIndexFile& file);

}  // namespace vantorel
