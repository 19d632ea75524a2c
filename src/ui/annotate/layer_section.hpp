#pragma once

#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/inspector_section.hpp"

namespace vantorel {

class InkSwatches;
class StepSlider;

/// Opacity and border of the selected layer. Gone without one. Lives on the main thread.
class LayerSection : public InspectorSection {
 public:
  LayerSection(InspectedEditor editor, QWidget* parent);

  void refresh();

 private:
  void setBorder(double width);
  void setBorderColor(const std::string& color);

  InspectedEditor editor_;
  StepSlider* opacity_;
  StepSlider* border_;
  InkSwatches* inks_;
  std::string color_ = "#ffffff";  // of the next border
};

}  // namespace vantorel
