#pragma once

#include <memory>

#include "editor/records/shape.hpp"
#include "platform/text_geometry.hpp"

namespace vantorel {

/// The geometry of a `text` shape, from the very layout that is painted.
[[nodiscard]] std::unique_ptr<TextGeometry> layOut(const Shape& text);

}  // namespace vantorel
