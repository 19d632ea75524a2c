#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "base/check.hpp"

namespace vantorel {

template <class Enum>
struct EnumName {
  Enum value;
  std::string_view name;
};

/// The one table of an enumeration's names, in declared order: reading, writing, the command line
/// and messages all use it. Specialise beside the enumeration:
///
///     template <>
///     inline constexpr auto enumNames<Fruit> = std::to_array<EnumName<Fruit>>({
///         {Fruit::apple, "apple"},
///         {Fruit::pear, "pear"},
///     });
template <class Enum>
inline constexpr std::nullptr_t enumNames = nullptr;

template <class Enum>
concept NamedEnum = !std::is_same_v<decltype(enumNames<Enum>), const std::nullptr_t>;

template <NamedEnum Enum>
[[nodiscard]] constexpr std::string_view nameOf(Enum value) {
  for (const auto& entry : enumNames<Enum>) {
    if (entry.value == value) return entry.name;
  }
  VT_CHECK(false && "an enumeration case without a name");
  return {};
}

template <NamedEnum Enum>
[[nodiscard]] constexpr std::optional<Enum> enumFromName(std::string_view name) {
  for (const auto& entry : enumNames<Enum>) {
    if (entry.name == name) return entry.value;
  }
  return std::nullopt;
}

/// All names joined for messages: "png, jpeg, heic, webp".
template <NamedEnum Enum>
[[nodiscard]] std::string allNames() {
  std::string text;
  for (const auto& entry : enumNames<Enum>) {
    if (!text.empty()) text += ", ";
    text += entry.name;
  }
  return text;
}

}  // namespace vantorel
