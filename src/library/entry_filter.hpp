#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "library/history_store.hpp"

namespace vantorel {

/// What entries somebody asks for; what is empty does not count.
struct EntryFilter {
  std::optional<CaptureMedium> medium;
  std::optional<bool> starred;
  std::optional<std::string> collectionID;
  std::string application;       ///< part of the application's name or id, in any case of letters
  std::optional<double> since;   ///< seconds since 1970-01-01 UTC, inclusive
  std::optional<double> before;  ///< seconds since 1970-01-01 UTC, exclusive

  [[nodiscard]] bool matches(const ScreenshotEntry& entry) const;
};

/// The entries that match, the newest first, at most `limit` of them.
[[nodiscard]] EntryList findEntries(const HistoryStore& store, const EntryFilter& filter,
                                    std::size_t limit);

/// Those of the ids that are in the library, in their order.
[[nodiscard]] EntryList findEntries(const HistoryStore& store, const std::vector<std::string>& ids);

[[nodiscard]] std::vector<std::string> idsOf(const EntryList& entries);

/// What a person wrote to name entries (`HistoryStore::resolve`), each once. A mistake in one of
/// the names is one in all.
[[nodiscard]] Result<EntryList> resolveEntries(const HistoryStore& store,
                                               const std::vector<std::string>& names);

/// Why the library cannot even be looked at: another process's may be, but one that cannot be read
/// is not an empty one.
[[nodiscard]] std::optional<std::string> refusalToLook(const HistoryStore& store);

}  // namespace vantorel
