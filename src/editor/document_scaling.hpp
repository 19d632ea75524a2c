#pragma once

#include "base/geometry.hpp"
#include "editor/records/editor_document.hpp"

// What becomes of a document when its base image is scaled. Pure; any thread.

namespace vantorel {

/// True when a picture of size `a` can be one of size `b` scaled: the same shape but for rounding.
[[nodiscard]] bool haveSameProportions(PixelSize a, PixelSize b);

/// `document`, made for a base image of `from` pixels, for the same image at `to` pixels: shapes,
/// layers, canvas, crop and background scale with it. What was covered stays covered and what was
/// cropped away stays away, also where one of the new pixels is mixed from several of the old:
/// redactions grow, and the crop shrinks, to whole pixels of the new picture.
[[nodiscard]] EditorDocument scaledDocument(EditorDocument document, PixelSize from, PixelSize to);

}  // namespace vantorel
