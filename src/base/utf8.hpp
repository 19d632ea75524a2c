#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantorel {

/// True when `bytes` is well-formed UTF-8 (no surrogates, no overlong forms).
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// `bytes` with U+FFFD in place of each byte that does not belong to a well-formed sequence.
[[nodiscard]] std::string repairedUtf8(std::string_view bytes);

/// `bytes` with a control character (U+001A) in place of each such byte: as long, and every
/// character where it was.
[[nodiscard]] std::string substitutedUtf8(std::string_view bytes);

/// The longest beginning of `text` that has at most `most` bytes and ends between two characters.
[[nodiscard]] std::string_view beginningOf(std::string_view text, std::size_t most);

}  // namespace vantorel
