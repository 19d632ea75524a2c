#pragma once

#include <map>
#include <optional>
#include <string>

#include "base/json_record.hpp"
#include "editor/records/shape_style.hpp"
#include "editor/records/tool.hpp"

namespace vantorel {

/// What a tool remembers between uses. A tool fills only the optional fields that mean something
/// for it.
struct ToolStyle {
  std::string color;
  int widthIdx = 0;  ///< index into the editor's list of stroke widths
  std::optional<ArrowTailMarker> tailMarker;
  std::optional<double> tailScale;
  std::optional<TextStyle> textStyle;
  std::optional<RedactStyle> redactStyle;
  std::optional<MeasureUnit> measureUnit;
  std::optional<ColorFormat> colorFormat;
  std::optional<double> opacity;
  std::optional<FillStyle> fill;
  std::optional<double> cornerRadius;
  std::optional<LineStyle> lineStyle;
  std::optional<ArrowHeadStyle> headStyle;
  std::optional<TextAlign> textAlign;
  std::optional<int> sides;
  std::optional<double> starInset;
  std::optional<std::string> emoji;

  json::Extra extra;

  bool operator==(const ToolStyle&) const = default;
  template <class V, class S>
  static void describe(V& v, S& style);
};
VT_JSON_RECORD_DECLARATION(ToolStyle);

/// The remembered styles as they are stored: from the tool's name to its style. Names of tools that
/// this build does not know stay in it; a style that cannot be read is dropped.
using ToolStyles = std::map<std::string, ToolStyle>;

}  // namespace vantorel
