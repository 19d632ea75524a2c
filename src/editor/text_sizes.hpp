#pragma once

#include "editor/shape_handles.hpp"

namespace vantorel {

/// Measures as `measure` does, which is asked only once for texts that look alike: laying one out
/// costs as much as a look at a hundred shapes. The result lives on one runner.
[[nodiscard]] MeasureText remembering(MeasureText measure);

}  // namespace vantorel
