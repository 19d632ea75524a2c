#pragma once

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/enum_names.hpp"

namespace vantorel {

/// How a refusal by `oneOf` begins.
constexpr std::string_view mustBeOneOf = "must be one of ";

/// Accepts the names of the cases of `Enum`, and lists them in the help.
template <NamedEnum Enum>
CLI::Validator oneOf() {
  std::vector<std::string> names;
  names.reserve(enumNames<Enum>.size());
  for (const auto& entry : enumNames<Enum>) names.emplace_back(entry.name);
  CLI::Validator accepted = CLI::IsMember(names);
  accepted.operation([names = std::move(names)](const std::string& given) {
    return std::ranges::find(names, given) != names.end()
               ? std::string()
               : fmt::format("{}{}", mustBeOneOf, fmt::join(names, ", "));
  });
  return accepted;
}

}  // namespace vantorel
