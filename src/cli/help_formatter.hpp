#pragma once

#include <CLI/CLI.hpp>

#include <string>

#include "cli/command_outline.hpp"

namespace vantorel {

/// The parser's help with what an option takes as the manual page shows it: "--format png|jpeg".
class HelpFormatter final : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const OptionOutline outline = outlineOf(*option);
    const bool isNamed = option->get_positional() && outline.choices.empty();
    const std::string value = isNamed ? std::string() : outline.valueWords();
    return (value.empty() ? "" : " " + value) + (outline.repeats ? " ..." : "");
  }
};

}  // namespace vantorel
