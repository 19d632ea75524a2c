#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "agent/mcp_failure.hpp"
#include "base/enum_names.hpp"
#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel {

/// What a tool was called with. The readers fail with `invalidParams` and a sentence that begins
/// with the tool's name; an argument that is null counts as missing.
struct MCPArguments {
  std::string tool;  ///< its wire name
  json::Object fields;

  template <class Value>
  using Read = Result<Value, MCPFailure>;

  [[nodiscard]] Read<std::string> string(std::string_view name) const;
  [[nodiscard]] Read<double> number(std::string_view name) const;
  [[nodiscard]] Read<bool> flag(std::string_view name) const;

  [[nodiscard]] Read<std::optional<std::string>> optionalString(std::string_view name) const;
  [[nodiscard]] Read<std::optional<double>> optionalNumber(std::string_view name) const;
  [[nodiscard]] Read<std::optional<bool>> optionalFlag(std::string_view name) const;

  /// One of the names of an enumeration.
  template <NamedEnum Enum>
  [[nodiscard]] Read<std::optional<Enum>> optionalChoice(std::string_view name) const {
    const auto text = VT_TRY(optionalString(name));
    if (!text) return std::optional<Enum>{};
    if (const auto found = enumFromName<Enum>(*text)) return found;
    return std::unexpected(wrong(name, "must be one of " + allNames<Enum>()));
  }

  /// "list_captures: limit must be a number." from the argument and what is wrong with it.
  [[nodiscard]] MCPFailure wrong(std::string_view name, std::string_view what) const;

 private:
  [[nodiscard]] const JSONValue* find(std::string_view name) const;
  template <class Value>
  [[nodiscard]] Read<Value> required(std::string_view name, Read<std::optional<Value>> read) const;
};

}  // namespace vantorel
