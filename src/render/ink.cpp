#include "render/ink.hpp"

#include <charconv>
#include <cmath>

#include "editor/records/layer_spec.hpp"

namespace vantorel {

Ink inkOf(const std::string& color) {
  unsigned rgb = 0;
  const bool sevenLong = color.size() == 7 && color[0] == '#';
  const char* const end = color.data() + color.size();
  if (!sevenLong || std::from_chars(color.data() + 1, end, rgb, 16).ptr != end) {
    return inkOf(std::string(standardRed));
  }
  const auto part = [&](unsigned shift) { return double(rgb >> shift & 0xffU) / 255; };
  return {part(16), part(8), part(0), 1};
}

double luminance(const Ink& ink) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(ink.r) + 0.7152 * linear(ink.g) + 0.0722 * linear(ink.b);
}

Ink readableOn(const Ink& ground) {
  const double contrastOfWhite = 1.05 / (luminance(ground) + 0.05);
  return contrastOfWhite >= 4.5 ? Ink{1, 1, 1, 1} : Ink{0, 0, 0, 1};
}

Ink rimOf(const Ink& ink) {
  const double light = 0.299 * ink.r + 0.587 * ink.g + 0.114 * ink.b;
  return light > 0.6 ? Ink{0.1, 0.1, 0.1, 1} : Ink{1, 1, 1, 1};
}

}  // namespace vantorel
