#pragma once

#include <cairo.h>

#include <vector>

#include "editor/records/box.hpp"

namespace vantorel {

/// A row of lines to be inked.
struct LongStroke {
  std::vector<Pt> points;
  double width = 1;  ///< at least 1
  double dash = 0;   ///< 0: solid, with round ends
  double gap = 0;
};

/// Inks `stroke` with the source of `cr`, which may be shifted by whole pixels and no more. The
/// drawing library's time for one path grows with the square of the lines that cross a row of
/// pixels; here each line takes its own length times its width. A pixel's ink depends on no other
/// pixel, nor on the clip.
void ink(cairo_t* cr, const LongStroke& stroke);

}  // namespace vantorel
