#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/command_reply.hpp"
#include "library/entry_file_look.hpp"
#include "library/history_store.hpp"
#include "library/search_word.hpp"

namespace vantorel {

/// The title, or the file's name. All here on any thread but where a store is given.
[[nodiscard]] std::string nameInCell(const ScreenshotEntry& entry);

/// A line of what a search has found: with the line of its text that matched.
[[nodiscard]] std::string foundLineOf(const ScreenshotEntry& entry,
                                      const std::vector<SearchWord>& words, bool json);

/// The text on a capture, as the user wants it.
[[nodiscard]] std::string textOf(const ScreenshotEntry& entry, bool json);

/// A line of a listing. None of these tells what a redaction covers.
[[nodiscard]] std::string lineOf(const ScreenshotEntry& entry, bool json);
[[nodiscard]] std::string linesOf(const EntryList& entries, bool json);

/// A line of the listing of collections; `count` captures are in it.
[[nodiscard]] std::string lineOf(const HistoryCollection& collection, std::size_t count, bool json);

/// All about entries.
[[nodiscard]] CommandReply detailsOf(const LookedEntries& looked, const HistoryStore& store,
                                     bool json);

/// Where their files are; it fails when one is not there.
[[nodiscard]] CommandReply pathsOf(const LookedEntries& looked, bool json);

}  // namespace vantorel
