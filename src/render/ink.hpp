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

/// Black or white, whichever reads better on `ink`.
[[nodiscard]] Ink contrasting(const Ink& ink);

}  // namespace vantorel
