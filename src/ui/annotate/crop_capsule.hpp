#pragma once

#include <QMouseEvent>
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

  /// Where the frame lies in the canvas widget, and all that can be framed; the frame is empty
  /// without one.
  void setFrame(const QRect& frame, const QRect& picture);

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override { event->accept(); }
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  explicit CropCapsule(QWidget* canvas);
  void begin(InspectedEditor editor);
  void refresh();
  void place();
  void typed(bool isHeight);
  void leave();

  std::shared_ptr<AnnotateModel> model_;  // outlives what works on its editor
  InspectedEditor editor_;
  class Ground;

  Ground* ground_;
  QBoxLayout* rows_;
  SegmentedControl* aspect_;
  QLineEdit* width_;
  QLineEdit* height_;
  QPushButton* apply_;
  QRect frame_;
  QRect picture_;
  Observation changes_;
};

}  // namespace vantorel
