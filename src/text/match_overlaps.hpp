#pragma once

#include <string_view>
#include <vector>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// What does not lie wholly within a longer find: the digits of an account may happen to be a
/// card's.
[[nodiscard]] std::vector<SensitiveMatch> withoutInner(const std::vector<SensitiveMatch>& found);

/// What was found by detectors of falling rank, without overlaps and in order of the text: where
/// two finds share letters, these belong to the one that comes first in `found`, and the other
/// keeps what it has before and behind them, as far as letters or digits are in it. So each letter
/// that was found by any detector is in a match, and what is one kind of secret inside another (a
/// token inside a link) can be told from it.
[[nodiscard]] std::vector<SensitiveMatch> withoutOverlaps(const std::vector<SensitiveMatch>& found,
                                                          std::string_view text);

}  // namespace vantorel
