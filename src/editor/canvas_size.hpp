#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "base/enum_names.hpp"
#include "editor/records/box.hpp"
#include "editor/records/layer_spec.hpp"

namespace vantorel {

/// The most pixels a canvas, a layer or a finished picture may have.
inline constexpr double maximumPixels = 64'000'000;

/// True when a picture of this size can be made: at least one pixel each way, at most
/// `maximumPixels`.
[[nodiscard]] bool isPossibleSize(double width, double height);

/// Why a canvas size cannot be applied.
enum class CanvasSizeFault { notWhole, tooSmall, tooLarge, unchanged };

[[nodiscard]] std::string sentence(CanvasSizeFault fault);

struct CanvasSize {
  double width = 0;
  double height = 0;
  bool operator==(const CanvasSize&) const = default;
};

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
