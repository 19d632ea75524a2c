#pragma once

#include <cairo.h>

#include <string>

namespace vantorel {

/// A colour as cairo takes it: each part 0 to 1.
struct Ink {
  double r = 0;
  double g = 0;
  double b = 0;
  double a = 1;

  [[nodiscard]] Ink withAlpha(double alpha) const { return {r, g, b, alpha}; }
  void set(cairo_t* cr) const { cairo_set_source_rgba(cr, r, g, b, a); }
};

/// "#" and six hexadecimal digits; the standard red for anything else.
[[nodiscard]] Ink inkOf(const std::string& color);

/// A line around `ink` that sets it off from what is behind: white, or nearly black where the ink
/// is light.
[[nodiscard]] Ink rimOf(const Ink& ink);

/// For letters on `ground`: white or black, with a contrast of at least 4.5 to 1.
[[nodiscard]] Ink readableOn(const Ink& ground);

/// The share of white's light that a colour gives off, 0 to 1, as contrasts are counted.
[[nodiscard]] double luminance(const Ink& ink);

}  // namespace vantorel
