#pragma once

#include <QDialog>

#include "base/observers.hpp"
#include "editor/canvas_size.hpp"
#include "ui/annotate/inspected_editor.hpp"

class QButtonGroup;
class QLineEdit;
class QPushButton;

namespace vantorel {

class RoleLabel;

/// Gives the canvas another size, its content staying at one of nine places. Over its window, which
/// waits for it. Lives on the main thread.
class CanvasSizeSheet : public QDialog {
 public:
  static void open(InspectedEditor editor, QWidget* window);

  CanvasSizeSheet(InspectedEditor editor, QWidget* window);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  class AnchorGrid;

  void judge();
  void apply();
  [[nodiscard]] CanvasAnchor chosenAnchor() const;

  InspectedEditor editor_;
  QLineEdit* width_;
  QLineEdit* height_;
  AnchorGrid* anchors_;
  RoleLabel* sentence_;
  QPushButton* change_;
  Observation changes_;
};

/// Of a model that is ready.
void openCanvasSizeSheet(const std::shared_ptr<AnnotateModel>& model, QWidget* window);

}  // namespace vantorel
