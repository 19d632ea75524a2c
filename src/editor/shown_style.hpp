#pragma once

#include <optional>
#include <string>
#include <vector>

#include "editor/editor_model.hpp"

namespace vantorel {

/// One value of a look as the inspector shows it. Not there when the tool, or one of the selected
/// shapes, has no such value.
template <class T>
struct ShownValue {
  bool isThere = false;
  bool isMixed = false;  ///< the selected shapes differ
  T value{};             ///< of the lowest one

  /// What a control is to show; nothing where values differ.
  [[nodiscard]] std::optional<T> common() const {
    return isMixed ? std::nullopt : std::optional(value);
  }
};

/// What the stroke's width means.
enum class WidthMeaning { line, fontSize, size };

/// The look of what is selected or typed, else of the tool: what can be changed of it and what it
/// is. Values that a shape leaves open are those it is drawn with.
struct ShownStyle {
  std::string title;  ///< "Arrow", "Hexagon", "3 annotations"; empty when there is nothing to show

  ShownValue<std::string> color;
  ShownValue<int> width;  ///< index
  WidthMeaning widthMeaning = WidthMeaning::line;
  ShownValue<LineStyle> lineStyle;
  ShownValue<ArrowHeadStyle> headStyle;
  ShownValue<ArrowTailMarker> tailMarker;
  ShownValue<double> tailScale;
  ShownValue<FillStyle> fill;
  ShownValue<double> cornerRadius;
  ShownValue<double> opacity;
  ShownValue<TextStyle> textStyle;
  ShownValue<TextAlign> textAlign;
  ShownValue<int> sides;
  ShownValue<double> starInset;
  ShownValue<RedactStyle> redactStyle;
  ShownValue<MeasureUnit> measureUnit;
  ShownValue<std::string> emoji;
  ShownValue<ColorFormat> colorFormat;
  ShownValue<CropAspect> cropAspect;
};

[[nodiscard]] ShownStyle shownStyle(const EditorModel& editor);

}  // namespace vantorel
