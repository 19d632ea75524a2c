#pragma once

#include <cstdint>

#include "base/enum_names.hpp"

// The names in these tables are stored in files and never change.

namespace vantorel {

/// The kinds of marks.
enum class ShapeType : std::uint8_t {
  pen,
  highlighter,
  arrow,
  rect,
  ellipse,
  polygon,
  text,
  redact,
  highlightRect,
  counter,
  emoji,
  measure
};

template <>
inline constexpr auto enumNames<ShapeType> = std::to_array<EnumName<ShapeType>>({
    {ShapeType::pen, "pen"},
    {ShapeType::highlighter, "highlighter"},
    {ShapeType::arrow, "arrow"},
    {ShapeType::rect, "rect"},
    {ShapeType::ellipse, "ellipse"},
    {ShapeType::polygon, "polygon"},
    {ShapeType::text, "text"},
    {ShapeType::redact, "redact"},
    {ShapeType::highlightRect, "highlightRect"},
    {ShapeType::counter, "counter"},
    {ShapeType::emoji, "emoji"},
    {ShapeType::measure, "measure"},
});

/// The look of a text shape: with a contrasting outline, bare, or on a filled label.
enum class TextStyle : std::uint8_t { outline, plain, label };

template <>
inline constexpr auto enumNames<TextStyle> = std::to_array<EnumName<TextStyle>>({
    {TextStyle::outline, "outline"},
    {TextStyle::plain, "plain"},
    {TextStyle::label, "label"},
});

/// The marker at an arrow's start.
enum class ArrowTailMarker : std::uint8_t { none, dot, ring };

template <>
inline constexpr auto enumNames<ArrowTailMarker> = std::to_array<EnumName<ArrowTailMarker>>({
    {ArrowTailMarker::none, "none"},
    {ArrowTailMarker::dot, "dot"},
    {ArrowTailMarker::ring, "ring"},
});

/// The alignment of the lines of a text shape.
enum class TextAlign : std::uint8_t { leading, center, trailing };

template <>
inline constexpr auto enumNames<TextAlign> = std::to_array<EnumName<TextAlign>>({
    {TextAlign::leading, "leading"},
    {TextAlign::center, "center"},
    {TextAlign::trailing, "trailing"},
});

/// Which ends of an arrow carry heads.
enum class ArrowHeadStyle : std::uint8_t { end, headless, both };

template <>
inline constexpr auto enumNames<ArrowHeadStyle> = std::to_array<EnumName<ArrowHeadStyle>>({
    {ArrowHeadStyle::end, "end"},
    {ArrowHeadStyle::headless, "headless"},
    {ArrowHeadStyle::both, "both"},
});

enum class LineStyle : std::uint8_t { solid, dashed };

template <>
inline constexpr auto enumNames<LineStyle> = std::to_array<EnumName<LineStyle>>({
    {LineStyle::solid, "solid"},
    {LineStyle::dashed, "dashed"},
});

/// The interior of closed shapes. `tint` is the stroke colour, mostly transparent.
enum class FillStyle : std::uint8_t { none, solid, tint };

template <>
inline constexpr auto enumNames<FillStyle> = std::to_array<EnumName<FillStyle>>({
    {FillStyle::none, "none"},
    {FillStyle::solid, "solid"},
    {FillStyle::tint, "tint"},
});

/// The proportions a crop frame is held to.
enum class CropAspect { free, square, fourByThree, sixteenByNine };

template <>
inline constexpr auto enumNames<CropAspect> = std::to_array<EnumName<CropAspect>>({
    {CropAspect::free, "free"},
    {CropAspect::square, "square"},
    {CropAspect::fourByThree, "fourByThree"},
    {CropAspect::sixteenByNine, "sixteenByNine"},
});

/// The polygons offered by name.
enum class PolygonPreset { triangle, diamond, pentagon, hexagon, octagon, star, burst };

template <>
inline constexpr auto enumNames<PolygonPreset> = std::to_array<EnumName<PolygonPreset>>({
    {PolygonPreset::triangle, "triangle"},
    {PolygonPreset::diamond, "diamond"},
    {PolygonPreset::pentagon, "pentagon"},
    {PolygonPreset::hexagon, "hexagon"},
    {PolygonPreset::octagon, "octagon"},
    {PolygonPreset::star, "star"},
    {PolygonPreset::burst, "burst"},
});

/// The unit of a measure label: image pixels, or points of the captured display.
enum class MeasureUnit : std::uint8_t { px, pt };

template <>
inline constexpr auto enumNames<MeasureUnit> = std::to_array<EnumName<MeasureUnit>>({
    {MeasureUnit::px, "px"},
    {MeasureUnit::pt, "pt"},
});

/// How a redaction box hides what is under it.
enum class RedactStyle : std::uint8_t { gaussianBlur, pixelate, solidBox };

template <>
inline constexpr auto enumNames<RedactStyle> = std::to_array<EnumName<RedactStyle>>({
    {RedactStyle::gaussianBlur, "gaussianBlur"},
    {RedactStyle::pixelate, "pixelate"},
    {RedactStyle::solidBox, "solidBox"},
});

/// The form in which the eyedropper copies a sampled colour.
enum class ColorFormat { hex, rgb };

template <>
inline constexpr auto enumNames<ColorFormat> = std::to_array<EnumName<ColorFormat>>({
    {ColorFormat::hex, "hex"},
    {ColorFormat::rgb, "rgb"},
});

}  // namespace vantorel
