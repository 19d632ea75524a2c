#pragma once

#include <string_view>

namespace vantorel {

/// Whether a long run of base64's letters looks like encoded bytes rather than a word, a path or a
/// digest: it mixes capitals, small letters and digits, has more than hexadecimal digits in it, and
/// with many slashes it changes between them as often as random letters do.
[[nodiscard]] bool isPlausibleBase64(std::string_view run);

}  // namespace vantorel
