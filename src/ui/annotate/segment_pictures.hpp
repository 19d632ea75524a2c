#pragma once

#include "editor/records/shape_style.hpp"
#include "editor/shape_geometry.hpp"
#include "ui/kit/segmented_control.hpp"

namespace vantorel {

// What the choices of the inspector look like that are shown and not named. Main thread.

/// A line as thick as the `index`-th width, up to what fits.
[[nodiscard]] SegmentedControl::Picture widthPicture(int index);
/// A letter, larger with each width.
[[nodiscard]] SegmentedControl::Picture letterPicture(int index);
/// A disk, larger with each width.
[[nodiscard]] SegmentedControl::Picture diskPicture(int index);

/// A line with its arrow heads. It points as arrows are drawn, the same way in every direction of
/// writing.
[[nodiscard]] SegmentedControl::Picture headPicture(ArrowHeadStyle style);

[[nodiscard]] SegmentedControl::Picture alignPicture(TextAlign align);

/// The outline of a form.
[[nodiscard]] SegmentedControl::Picture polygonPicture(PolygonForm form);

}  // namespace vantorel
