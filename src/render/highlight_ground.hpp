#pragma once

#include <vector>

#include "base/image.hpp"
#include "render/redaction.hpp"
#include "render/shape_painter.hpp"

namespace vantorel {

/// Whether most of `picture` below a highlight is dark. What is transparent counts as light, and
/// what a redaction covers is not looked at: a highlight must not tell anything of it.
[[nodiscard]] bool isOnDarkGround(const PlacedShape& highlight, const Image& picture,
                                  const std::vector<Redaction>& redactions);

}  // namespace vantorel
