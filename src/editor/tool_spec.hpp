#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "editor/records/shape_style.hpp"
#include "editor/records/tool.hpp"

namespace vantorel {

/// One entry of the toolbar.
struct ToolSpec {
  Tool tool;
  std::string_view symbol;  ///< the icon's name in the icon theme
  std::string_view label;
  std::string_view key;  ///< the one-key shortcut, one lower-case letter
};

/// All tools in toolbar order.
[[nodiscard]] std::span<const ToolSpec> toolSpecs();

[[nodiscard]] const ToolSpec& specOf(Tool tool);

/// The tool that `key` picks, in either case.
[[nodiscard]] std::optional<Tool> toolForKey(std::string_view key);

/// What a tool draws; none for the tools that draw nothing.
[[nodiscard]] std::optional<ShapeType> shapeTypeOf(Tool tool);

/// The tool that draws `type`.
[[nodiscard]] Tool toolOf(ShapeType type);

}  // namespace vantorel
