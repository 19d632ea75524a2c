#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// Whether the check digits of an account number are right (ISO 13616, modulo 97). Blanks are
/// passed over; what is shorter than 15 characters is none.
[[nodiscard]] bool isIban(std::string_view text);

/// The longest beginning that ends at a blank and is one: in capitals the next word is easily taken
/// for the number's last group.
[[nodiscard]] std::optional<TextRange> ibanWithin(std::string_view text);

/// Where one that is no beginning of a match may still begin: behind its first group.
[[nodiscard]] std::size_t nextIban(std::string_view match);

}  // namespace vantorel
