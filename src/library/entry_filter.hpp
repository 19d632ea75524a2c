#pragma once

#include <cstddef>
#include <optional>
#include <string>

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

}  // namespace vantorel
