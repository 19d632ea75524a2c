#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "base/enum_names.hpp"
#include "editor/records/box.hpp"
#include "editor/records/layer_spec.hpp"

namespace vantorel {

struct CanvasSize {
  double width = 0;
  double height = 0;
  bool operator==(const CanvasSize&) const = default;
};

/// The most pixels a canvas may be given, and a picture that a background makes larger.
inline constexpr double maximumCanvasPixels = 64'000'000;

/// The most pixels a capture, a layer or a finished picture may have: as many as are decoded. A
/// tall capture has more than a canvas is ever given, and keeps them.
inline constexpr double maximumPicturePixels = 134'217'728;

/// True when a picture of this size can be made: at least one pixel each way, at most
/// `maximumPicturePixels`.
[[nodiscard]] bool isPossibleSize(double width, double height);

/// Whether a canvas may be made this large: it was that large before, or has at most
/// `maximumCanvasPixels`.
[[nodiscard]] bool isPossibleCanvas(CanvasSize size, CanvasSize before);

/// Why a canvas size cannot be applied.
enum class CanvasSizeFault { notWhole, tooSmall, tooLarge, unchanged };

[[nodiscard]] std::string sentence(CanvasSizeFault fault);

/// Judges a size, as numbers or as typed into the fields of the canvas-size sheet.
[[nodiscard]] std::expected<CanvasSize, CanvasSizeFault> checkedCanvasSize(double width,
                                                                           double height,
                                                                           CanvasSize current);
[[nodiscard]] std::expected<CanvasSize, CanvasSizeFault> checkedCanvasSize(std::string_view width,
                                                                           std::string_view height,
                                                                           CanvasSize current);

/// Where the content stays when the canvas changes its size.
enum class CanvasAnchor {
  topLeft,
  top,
  topRight,
  left,
  center,
  right,
  bottomLeft,
  bottom,
  bottomRight,
};

template <>
inline constexpr auto enumNames<CanvasAnchor> = std::to_array<EnumName<CanvasAnchor>>({
    {CanvasAnchor::topLeft, "topLeft"},
    {CanvasAnchor::top, "top"},
    {CanvasAnchor::topRight, "topRight"},
    {CanvasAnchor::left, "left"},
    {CanvasAnchor::center, "center"},
    {CanvasAnchor::right, "right"},
    {CanvasAnchor::bottomLeft, "bottomLeft"},
    {CanvasAnchor::bottom, "bottom"},
    {CanvasAnchor::bottomRight, "bottomRight"},
});

/// How far the content moves, in whole pixels, when the canvas goes from one size to another.
[[nodiscard]] Pt anchorShift(CanvasAnchor anchor, CanvasSize from, CanvasSize to);

}  // namespace vantorel
