#pragma once

#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/inspector_section.hpp"

class QLabel;

namespace vantorel {

class InspectorForm;

/// Size and color of the canvas. Lives on the main thread.
class CanvasSection : public InspectorSection {
 public:
  CanvasSection(InspectedEditor editor, QWidget* parent);

  void refresh();

 private:
  class ColorButton;
  class SizeRow;

  InspectedEditor editor_;
  InspectorForm* form_;
  QLabel* size_;
  ColorButton* color_;
};

}  // namespace vantorel
