#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// A new random identifier of 122 bits in the usual form, upper case:
/// "3F2504E0-4F89-41D3-9A0C-0305E82C3301". Source: RFC 9562, version 4.
[[nodiscard]] std::string randomID();

/// Whether it has that form.
[[nodiscard]] bool isRandomID(std::string_view text);

}  // namespace vantorel
