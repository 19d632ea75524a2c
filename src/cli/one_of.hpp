#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "base/enum_names.hpp"

namespace vantorel {

/// Accepts the names of the cases of `Enum`, and lists them in the help.
template <NamedEnum Enum>
CLI::IsMember oneOf() {
  std::vector<std::string> names;
  names.reserve(enumNames<Enum>.size());
  for (const auto& entry : enumNames<Enum>) names.emplace_back(entry.name);
  return CLI::IsMember(std::move(names));
}

}  // namespace vantorel
