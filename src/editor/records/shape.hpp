#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/json_record.hpp"
#include "base/json_unread.hpp"
#include "editor/records/box.hpp"
#include "editor/records/shape_style.hpp"

namespace vantorel {

/// One annotation. All coordinates and lengths are pixels of the uncropped base image; colours are
/// "#" and six lower-case hexadecimal digits. Which fields mean something depends on `type`; the
/// others stay at their initial values.
struct Shape {
  static constexpr int minimumSides = 3;
  static constexpr int maximumSides = 12;
  static constexpr double deepestStarInset = 0.7;

  std::string id;  ///< unique within its document
  ShapeType type = ShapeType::pen;
  std::string color;
  double width = 0;  ///< of the stroke

  std::vector<Pt> points;     ///< the samples of `pen` and `highlighter`
  json::Unread unreadPoints;  ///< points that this build cannot read
  json::Unread pointMembers;  ///< what it does not know of those it can

  /// Start and end of `arrow` and `measure`; opposite corners of `rect`, `ellipse`, `polygon`,
  /// `redact` and `highlightRect`, in any order.
  double x1 = 0;
  double y1 = 0;
  double x2 = 0;
  double y2 = 0;

  /// Anchor of `text` (top left of the first line's start), `counter` and `emoji` (the centre).
  double x = 0;
  double y = 0;

  std::string text;                ///< of `text`; the emoji itself of `emoji`
  double fontSize = 0;             ///< of `text`, in pixels
  std::optional<double> boxWidth;  ///< wrapping width of `text`; without it only newlines break
  std::optional<TextStyle> textStyle;
  std::optional<RedactStyle> redactStyle;
  std::optional<int> number;  ///< of `counter`
  std::optional<MeasureUnit> measureUnit;
  std::optional<double> bow;  ///< how far the middle of an `arrow` lies off its straight line
  std::optional<ArrowTailMarker> tailMarker;
  std::optional<double> tailScale;  ///< size factor of the tail marker
  std::optional<double> opacity;    ///< 0 to 1
  std::optional<FillStyle> fill;
  std::optional<double> cornerRadius;  ///< of `rect`; never negative
  std::optional<LineStyle> lineStyle;
  std::optional<ArrowHeadStyle> headStyle;
  std::optional<TextAlign> textAlign;
  std::optional<int> sides;            ///< corners of a `polygon`, points of a star
  std::optional<double> starInset;     ///< depth of a star; 0 is a plain polygon
  std::optional<std::string> layerId;  ///< the layer it lies on; without one, the base image

  json::Extra extra;

  bool operator==(const Shape&) const = default;
  template <class V, class S>
  static void describe(V& v, S& shape);
};

/// Reading fails on a missing "id", "type", "color" or "width", and on a type nobody knows. Two
/// older types are mapped: "line" to an arrow without heads, "rectFill" to a filled rectangle.
VT_JSON_RECORD_DECLARATION(Shape);

}  // namespace vantorel
