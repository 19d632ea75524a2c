#pragma once

#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/inspector_section.hpp"

namespace vantorel {

class LayerList;

/// The layers, with what adds some and what lays them out anew. Lives on the main thread.
class LayersSection : public InspectorSection {
 public:
  LayersSection(InspectedEditor editor, QWidget* parent);

  void refresh();

  /// See `LayerList::isHeld`.
  [[nodiscard]] bool isHeld() const;
  void onLetGo(std::function<void()> letGo);

 private:
  InspectedEditor editor_;
  LayerList* list_;
  QWidget* arrangeRow_;
};

}  // namespace vantorel
