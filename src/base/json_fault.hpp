#pragma once

#include <cstddef>
#include <string_view>

namespace vantorel::json {

/// The line, from 1, in which a text that was refused ceases to be JSON; its last line when the
/// text is cut short, or wrong in a way that this simple reader does not see.
[[nodiscard]] std::size_t faultLine(std::string_view text);

/// What of `text` can be read as one JSON value: all of the value that it begins with, or what
/// comes before the first mistake in it. Nesting beyond `Document::maximumDepth` is a mistake.
[[nodiscard]] std::string_view leadingValue(std::string_view text);

}  // namespace vantorel::json
