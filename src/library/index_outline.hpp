#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.hpp"

namespace vantorel {

/// Where one value stands in a text.
struct TextRun {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

/// A text that is read piece by piece: `length` bytes from `offset` on, which always exist.
struct TextSource {
  std::uint64_t size = 0;
  std::function<Result<std::string>(std::uint64_t offset, std::uint64_t length)> read;
};

/// Walks over an index text without reading its values and without holding more of it than an item
/// needs. Calls `item` with each item of the top-level list "entries", in order, and where it
/// stands; the text is valid during the call. Answers the index text with that list emptied, or
/// nothing when there is no such list or the text is not shaped like an object. Fails as `read`
/// does.
///
/// The text is valid JSON exactly when the answer is and every item is one JSON value, wherever in
/// a damaged text the walk went astray.
[[nodiscard]] Result<std::optional<std::string>> outlineIndex(
    const TextSource& source, const std::function<void(TextRun, std::string_view)>& item);

}  // namespace vantorel
