#pragma once

#include <array>
#include <string>
#include <string_view>

#include "editor/records/layer_spec.hpp"
#include "editor/records/shape.hpp"
#include "editor/records/tool_style.hpp"

// How a tool's style becomes a shape's fields. Pure; any thread.

namespace vantorel {

/// The stroke widths that `ToolStyle::widthIdx` picks from, in points: a capture of twice the scale
/// takes twice as many pixels, and looks the same.
inline constexpr std::array<double, 5> strokeWidths{2, 4, 6, 10, 16};

/// The width at `index`, which is clamped into the list.
[[nodiscard]] double strokeWidth(int index);

/// The font size, in points, that goes with a stroke width.
[[nodiscard]] double fontSizeFor(double width);

/// The colours the inspector offers.
inline constexpr std::array<std::string_view, 9> inkSwatches{"#ffffff", "#ff3b30", "#007aff",
                                                             "#ffcc00", "#a2d631", "#34c759",
                                                             "#5ac8fa", "#af52de", "#000000"};

/// What a tool starts from when it has nothing remembered.
struct StyleDefaults {
  std::string color{standardRed};
  int widthIdx = 1;
  std::optional<double> opacity;
  FillStyle fill = FillStyle::none;
  double cornerRadius = 0;
  LineStyle lineStyle = LineStyle::solid;
  ArrowHeadStyle headStyle = ArrowHeadStyle::end;
  TextAlign textAlign = TextAlign::leading;
  TextStyle textStyle = TextStyle::outline;
  int sides = 6;
  double starInset = 0;
  std::string emoji = "👍";
  ArrowTailMarker tailMarker = ArrowTailMarker::none;
  double tailScale = 1;
  RedactStyle redactStyle = RedactStyle::pixelate;
  MeasureUnit measureUnit = MeasureUnit::px;
  ColorFormat colorFormat = ColorFormat::hex;
};

[[nodiscard]] StyleDefaults styleDefaults(Tool tool);

/// The remembered style of `tool`, with what it lacks filled from the defaults.
[[nodiscard]] ToolStyle styleOf(Tool tool, const ToolStyles& remembered);

/// `style` without the fields that mean nothing for `tool`.
[[nodiscard]] ToolStyle onlyWhatMatters(Tool tool, ToolStyle style);

/// Gives a new shape of its type the look of `style`: colour, width, and each optional field that
/// means something for the type. `scale`, here and below, is the capture's, in pixels per point.
void dress(Shape& shape, const ToolStyle& style, double scale = 1);

/// Carries to an existing shape only what differs between `before` and `after`.
void restyle(Shape& shape, const ToolStyle& before, const ToolStyle& after, double scale = 1);

/// The style that `shape` shows: what the inspector displays while it is selected.
[[nodiscard]] ToolStyle styleShownBy(const Shape& shape, double scale = 1);

/// `color` as people write it: "#ff3b30" or "rgb(255, 59, 48)". Not a colour: as it is.
[[nodiscard]] std::string colorText(const std::string& color, ColorFormat format);

}  // namespace vantorel
