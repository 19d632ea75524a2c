#pragma once

#include <vector>

#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/inspector_section.hpp"

namespace vantorel {

class BackgroundFills;
class InkSwatches;
class InspectorForm;
class StepSlider;
class ToggleSwitch;

/// The frame around the finished picture: its fill, padding, corners and shadow. Lives on the main
/// thread.
class BackgroundSection : public InspectorSection {
 public:
  BackgroundSection(InspectedEditor editor, QWidget* parent);

  void refresh();

 private:
  void change(const std::function<void(BackgroundSpec&)>& change);
  StepSlider* addSlider(const QString& label, double most, double BackgroundSpec::* value,
                        const QString& unit);

  InspectedEditor editor_;
  InspectorForm* form_;
  BackgroundFills* fills_;
  InkSwatches* inks_;
  StepSlider* padding_;
  StepSlider* corners_;
  ToggleSwitch* shadow_;
  StepSlider* strength_;
  QWidget* shadowRow_;
  std::string solid_ = "#007aff";  // the color that the solid fill takes
};

}  // namespace vantorel
