#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "text/records/sensitive_match.hpp"
#include "text/regex.hpp"

namespace vantorel {

/// One kind of secret that is known by how it is written.
struct PatternRule {
  SensitiveMatchKind kind = SensitiveMatchKind::hexSecret;
  Regex regex;

  /// Whether what matched is one indeed; null: it is.
  bool (*validate)(std::string_view match) = nullptr;

  /// The part of a match that was dropped which is one by itself; null: none ever is.
  std::optional<TextRange> (*within)(std::string_view match) = nullptr;

  /// Where in a match that was dropped the next one may begin; null: behind it.
  std::size_t (*next)(std::string_view match) = nullptr;
};

/// The rules in the order in which they are tried, compiled once. Any thread.
[[nodiscard]] const std::vector<PatternRule>& patternRules();

/// All that `rule` finds in `text` (valid UTF-8), in order and without overlaps.
[[nodiscard]] std::vector<SensitiveMatch> matchesOf(const PatternRule& rule, std::string_view text);

}  // namespace vantorel
