#pragma once

#include <memory>

#include "editor/shown_style.hpp"
#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/inspector_section.hpp"

namespace vantorel {

/// The look of what is selected, or of what the tool draws next. Gone when there is nothing to
/// change. Lives on the main thread.
class StyleSection : public InspectorSection {
 public:
  StyleSection(InspectedEditor editor, QWidget* parent);
  ~StyleSection() override;

  /// `mayComeOrGo`: else it stays as it is where it would appear or vanish.
  void refresh(bool mayComeOrGo);

 private:
  class Rows;

  InspectedEditor editor_;
  std::unique_ptr<Rows> rows_;
};

}  // namespace vantorel
