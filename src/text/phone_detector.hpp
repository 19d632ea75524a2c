#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/phone_number_finder.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// The telephone numbers in `text` (valid UTF-8), in order and without overlaps. `finder` is shown
/// only what has enough digits, one stretch after the other, and digits without any form only as
/// numbers of the first region. It takes its time over each: in a text that is full of digits, and
/// where it fails, what has the form of a number is taken for one.
[[nodiscard]] std::vector<SensitiveMatch> phonesIn(std::string_view text, PhoneNumberFinder& finder,
                                                   const std::vector<std::string>& regions);

/// Where numbers without a country's prefix are looked for: where the locale ("de_AT.UTF-8") is
/// from, then the United States, the United Kingdom, Germany, France and the Netherlands.
[[nodiscard]] std::vector<std::string> phoneRegions(std::string_view locale);

}  // namespace vantorel
