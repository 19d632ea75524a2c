#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// Whether the decimal digits of `text`, of whatever script, are 13 to 19 and end in the check
/// digit that Luhn's formula gives the others; whatever else is in it is passed over.
[[nodiscard]] bool isCardNumber(std::string_view text);

/// Of digits in groups that are no card number as a whole, the groups that are one, written as
/// cards are: "12 4111 1111 1111 1111", or with the month of its expiry behind it.
[[nodiscard]] std::optional<TextRange> cardNumberWithin(std::string_view text);

/// Where one that is no part of a match may still begin: at its next group of four digits or more,
/// or behind it.
[[nodiscard]] std::size_t nextCardNumber(std::string_view match);

}  // namespace vantorel
