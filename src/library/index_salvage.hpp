#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "library/records/history_collection.hpp"
#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What can still be read in the text of a damaged index.
struct SalvagedIndex {
  EntryList entries;  ///< no two of one id
  std::vector<HistoryCollection> collections;
  std::size_t damagedPlaces = 0;  ///< stretches that could not be read

  // What the text calls so anywhere, also in entries that could not be read.
  std::vector<std::string> paths{};
  std::vector<std::string> originalPaths{};
};

/// Reads each entry and collection of a text that as a whole is no index: flipped bits, an end that
/// is missing, other bytes in between. An entry that is not whole is left out, and nothing that
/// stands inside one is taken for one. Of an index of a newer build nothing is read.
[[nodiscard]] SalvagedIndex salvageIndex(std::string_view text);

/// What was found damaged when the library was opened.
struct IndexDamage {
  std::string keptAs;  ///< file name of the copy
  std::size_t readable = 0;
  std::size_t places = 0;

  [[nodiscard]] std::string sentence() const;
};

}  // namespace vantorel
