#pragma once

#include "editor/editor_model.hpp"
#include "ui/annotate/popover.hpp"

namespace vantorel {

/// The polygons that have a name. Lives on the main thread.
class PolygonPicker : public Popover {
 public:
  /// Shows it by `anchor`, which may stand in a `strip`. What is picked is what the polygon tool
  /// draws, and what the selected polygons become.
  static void open(EditorModel& model, QWidget* anchor, const QWidget* strip = nullptr);

 private:
  PolygonPicker(EditorModel& model, QWidget* anchor);
};

}  // namespace vantorel
