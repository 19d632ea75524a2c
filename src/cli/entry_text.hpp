#pragma once

#include <cstddef>
#include <string>

#include "cli/command_reply.hpp"
#include "library/entry_file_look.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// The title, or the file's name. All here on any thread but where a store is given.
[[nodiscard]] std::string nameInCell(const ScreenshotEntry& entry);

/// A line of a listing.
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
