#pragma once

#include <cairo.h>

#include <vector>

#include "editor/records/box.hpp"

// Dashes that end where the line does, of about three by two widths. They replace those that the
// context has, and its caps.

namespace vantorel {

/// For the context's current path: an open one starts and ends with a whole dash, a closed one has
/// no seam.
void setDashesAlongPath(cairo_t* cr, double width);

/// For the closed outline through `corners`, in the order they are drawn: every side has its own
/// whole number of dashes, and each corner lies in the middle of one.
void setDashesAlongSides(cairo_t* cr, const std::vector<Pt>& corners, double width);

}  // namespace vantorel
