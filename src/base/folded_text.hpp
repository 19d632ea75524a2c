#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// `text` for comparing as people search: without case and accents, "Überblick" as "uberblick" and
/// "Straße" as "strasse". Latin, Greek and Cyrillic letters; all others stay as they are. UTF-8.
[[nodiscard]] std::string foldedText(std::string_view text);

}  // namespace vantorel
