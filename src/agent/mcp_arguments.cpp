#include "agent/mcp_arguments.hpp"

#include <fmt/format.h>

namespace vantorel {

MCPFailure MCPArguments::wrong(std::string_view name, std::string_view what) const {
  return {MCPErrorCode::invalidParams, fmt::format("{}: {} {}.", tool, name, what)};
}

const JSONValue* MCPArguments::find(std::string_view name) const {
  const JSONValue* const found = json::find(fields, name);
  const bool isThere = found != nullptr && !std::holds_alternative<std::nullptr_t>(found->value);
  return isThere ? found : nullptr;
}

template <class Value>
MCPArguments::Read<Value> MCPArguments::required(std::string_view name,
                                                 Read<std::optional<Value>> read) const {
  std::optional<Value> value = VT_TRY(std::move(read));
  if (!value) return std::unexpected(wrong(name, "is required"));
  return std::move(*value);
}

MCPArguments::Read<std::string> MCPArguments::string(std::string_view name) const {
  return required(name, optionalString(name));
}

MCPArguments::Read<double> MCPArguments::number(std::string_view name) const {
  return required(name, optionalNumber(name));
}

MCPArguments::Read<bool> MCPArguments::flag(std::string_view name) const {
  return required(name, optionalFlag(name));
}

MCPArguments::Read<std::optional<std::string>> MCPArguments::optionalString(
    std::string_view name) const {
  const JSONValue* const found = find(name);
  if (found == nullptr) return std::optional<std::string>{};
  if (const auto* text = std::get_if<std::string>(&found->value)) return std::optional(*text);
  return std::unexpected(wrong(name, "must be a string"));
}

MCPArguments::Read<std::optional<double>> MCPArguments::optionalNumber(
    std::string_view name) const {
  const JSONValue* const found = find(name);
  if (found == nullptr) return std::optional<double>{};
  if (const auto* real = std::get_if<double>(&found->value)) return std::optional(*real);
  if (const auto* integer = std::get_if<std::int64_t>(&found->value)) {
    return std::optional(static_cast<double>(*integer));
  }
  return std::unexpected(wrong(name, "must be a number"));
}

MCPArguments::Read<std::optional<bool>> MCPArguments::optionalFlag(std::string_view name) const {
  const JSONValue* const found = find(name);
  if (found == nullptr) return std::optional<bool>{};
  if (const auto* isSet = std::get_if<bool>(&found->value)) return std::optional(*isSet);
  return std::unexpected(wrong(name, "must be true or false"));
}

}  // namespace vantorel
