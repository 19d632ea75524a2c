#pragma once

#include <cstddef>
#include <string_view>

namespace vantorel::json {

/// The line, from 1, in which a text that was refused ceases to be JSON; its last line when the
/// text is cut short, or wrong in a way that this simple reader does not see.
[[nodiscard]] std::size_t faultLine(std::string_view text);

}  // namespace vantorel::json
