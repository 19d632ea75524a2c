#pragma once

#include <array>
#include <compare>
#include <cstddef>

#include "base/enum_names.hpp"

namespace vantorel {

/// What should not be shared.
enum class SensitiveMatchKind {
  email,
  phone,
  url,
  address,
  cardNumber,
  iban,
  jwt,
  apiKey,
  hexSecret,
  face,
  person,
};

template <>
inline constexpr auto enumNames<SensitiveMatchKind> = std::to_array<EnumName<SensitiveMatchKind>>({
    {SensitiveMatchKind::email, "email"},
    {SensitiveMatchKind::phone, "phone"},
    {SensitiveMatchKind::url, "url"},
    {SensitiveMatchKind::address, "address"},
    {SensitiveMatchKind::cardNumber, "cardNumber"},
    {SensitiveMatchKind::iban, "iban"},
    {SensitiveMatchKind::jwt, "jwt"},
    {SensitiveMatchKind::apiKey, "apiKey"},
    {SensitiveMatchKind::hexSecret, "hexSecret"},
    {SensitiveMatchKind::face, "face"},
    {SensitiveMatchKind::person, "person"},
});

/// A stretch of a text, in bytes: from `begin` up to, not including, `end`.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t length() const { return end - begin; }
  auto operator<=>(const TextRange&) const = default;
};

/// Something sensitive in a text.
struct SensitiveMatch {
  SensitiveMatchKind kind = SensitiveMatchKind::email;
  TextRange range;

  bool operator==(const SensitiveMatch&) const = default;
};

}  // namespace vantorel
