#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// True when `bytes` is well-formed UTF-8 (no surrogates, no overlong forms).
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// `bytes` with U+FFFD in place of each byte that does not belong to a well-formed sequence.
[[nodiscard]] std::string repairedUtf8(std::string_view bytes);

}  // namespace vantorel
