#pragma once

#include <pango/pangocairo.h>

#include <memory>
#include <string>

#include "editor/records/box.hpp"
#include "editor/records/shape.hpp"

namespace vantorel {

struct GObjectDeleter {
  void operator()(void* object) const { g_object_unref(object); }
};
using TextLayout = std::unique_ptr<PangoLayout, GObjectDeleter>;

enum class TextWeight { regular, bold };

/// Laid-out text at `fontSize` pixels. Emoji come in colour. Text beyond what anyone reads is cut
/// off. Any thread; a layout stays on the thread that made it.
[[nodiscard]] TextLayout layoutText(const std::string& text, double fontSize, TextWeight weight);

/// The layout of a `text` shape, wrapped and aligned.
[[nodiscard]] TextLayout layoutOf(const Shape& text);

/// The box that the lines of a `text` shape fill: the answer to `MeasureText`.
[[nodiscard]] Box measureText(const Shape& text);

/// Where the lines of `layout` lie, and where ink goes beyond them, with the layout at (0, 0).
struct LayoutExtents {
  Box lines;
  Box ink;
};
[[nodiscard]] LayoutExtents extentsOf(PangoLayout* layout);

}  // namespace vantorel
