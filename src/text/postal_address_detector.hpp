#pragma once

#include <string_view>
#include <vector>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// The postal addresses in `text` (valid UTF-8), in order and without overlaps: as they are written
/// in the United States, the United Kingdom, Germany, France and the Netherlands, on one line or on
/// several, and streets with a number or codes with a town alone where they are plain enough. What
/// might be one is taken for one: too much is easily uncovered again.
[[nodiscard]] std::vector<SensitiveMatch> postalAddressesIn(std::string_view text);

}  // namespace vantorel
