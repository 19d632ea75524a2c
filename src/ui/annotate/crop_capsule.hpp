#pragma once

#include <QWidget>

#include "base/observers.hpp"
#include "ui/annotate/inspected_editor.hpp"

class QBoxLayout;
class QLineEdit;
class QPushButton;

namespace vantorel {

class SegmentedControl;

/// What can be done with the crop frame, floating over the canvas below it: its proportions, its
/// size, and whether it is cut. Shows itself while the crop tool is in hand. Lives on the main
/// thread.
class CropCapsule : public QWidget {
 public:
  /// Waits until the model is ready.
  CropCapsule(std::shared_ptr<AnnotateModel> model, QWidget* canvas);
  CropCapsule(InspectedEditor editor, QWidget* canvas);

  /// Where the frame lies in the canvas widget; empty without one.
  void setFrame(const QRect& frame);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  explicit CropCapsule(QWidget* canvas);
  void begin(InspectedEditor editor);
  void refresh();
  void place();
  void typed(bool isHeight);
  void leave();
  void takeOrLeave(QMouseEvent& event);

  std::shared_ptr<AnnotateModel> model_;  // outlives what works on its editor
  InspectedEditor editor_;
  QBoxLayout* rows_;
  SegmentedControl* aspect_;
  QLineEdit* width_;
  QLineEdit* height_;
  QPushButton* apply_;
  QRect frame_;
  bool isPressTaken_ = false;
  Observation changes_;
};

}  // namespace vantorel
