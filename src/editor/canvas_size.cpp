#include "editor/canvas_size.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace vantorel {
namespace {

/// The number in a field; not-a-number when it holds none.
double typedNumber(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return std::nan("");
  text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
  if (text.find_first_not_of("0123456789.-") != std::string_view::npos) return std::nan("");
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::result_out_of_range) return std::numeric_limits<double>::infinity();
  return error == std::errc{} && end == text.data() + text.size() ? number : std::nan("");
}

}  // namespace

bool isPossibleSize(double width, double height) {
  return width >= 1 && height >= 1 && width * height <= maximumPicturePixels;
}

bool isPossibleCanvas(CanvasSize size, CanvasSize before) {
  return size == before ||
         (size.width >= 1 && size.height >= 1 && size.width * size.height <= maximumCanvasPixels);
}

std::string sentence(CanvasSizeFault fault) {
  switch (fault) {
    case CanvasSizeFault::notWhole: return "Enter whole numbers of pixels.";
    case CanvasSizeFault::tooSmall: return "The canvas needs at least 1 px each way.";
    case CanvasSizeFault::tooLarge:
      return "Too large — the canvas is limited to 64 million pixels.";
    case CanvasSizeFault::unchanged: return "Same size as now.";
  }
  std::unreachable();
}

std::expected<CanvasSize, CanvasSizeFault> checkedCanvasSize(double width, double height,
                                                             CanvasSize current) {
  using enum CanvasSizeFault;
  for (const double side : {width, height}) {
    if (std::isnan(side) || side != std::trunc(side)) return std::unexpected(notWhole);
  }
  if (width < 1 || height < 1) return std::unexpected(tooSmall);
  const CanvasSize size{width, height};
  if (!isPossibleCanvas(size, {})) return std::unexpected(tooLarge);
  if (size == current) return std::unexpected(unchanged);
  return size;
}

std::expected<CanvasSize, CanvasSizeFault> checkedCanvasSize(std::string_view width,
                                                             std::string_view height,
                                                             CanvasSize current) {
  return checkedCanvasSize(typedNumber(width), typedNumber(height), current);
}

Pt anchorShift(CanvasAnchor anchor, CanvasSize from, CanvasSize to) {
  const int cell = static_cast<int>(anchor);  // the cases are the grid, row by row
  const int column = cell % 3;
  const int row = cell / 3;
  return {std::floor((to.width - from.width) * column / 2.0),
          std::floor((to.height - from.height) * row / 2.0)};
}

}  // namespace vantorel
