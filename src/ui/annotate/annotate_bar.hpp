#pragma once

#include <QPoint>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/annotate_model.hpp"

class QMenu;
class QPushButton;
class QToolButton;

namespace vantorel {

class BusyRing;

/// The bar above the canvas: what was done, and where the picture goes. The picture can be dragged
/// out of its Copy button. Lives on the main thread.
class AnnotateBar : public QWidget {
 public:
  AnnotateBar(std::shared_ptr<AnnotateModel> model, QWidget* parent);

  /// Takes up what the model has changed.
  void refresh(const AnnotateModel::Change& change);
  void setInspectorShown(bool isShown);
  void setSmartRedactShown(bool isShown);

  /// Opens the menu of formats.
  void showFormats();

  std::function<void()> onUndo;
  std::function<void()> onRedo;
  std::function<void()> onSmartRedact;
  std::function<void()> onCopy;
  std::function<void(ExportFormat format)> onSaveAs;
  std::function<void()> onDone;
  std::function<void()> onInspector;

  /// With the desktop's font, px.
  [[nodiscard]] static int usualHeight();
  [[nodiscard]] QSize sizeHint() const override { return {0, usualHeight()}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void showHistory();
  void fillFormats();
  void dragOut();
  void startDrag(const AnnotateModel::Dragged& dragged);

  std::shared_ptr<AnnotateModel> model_;
  QToolButton* undo_;
  QToolButton* redo_;
  QWidget* beforeSmartRedact_;
  QToolButton* smartRedact_;
  QToolButton* copy_;
  QToolButton* saveAs_;
  QPushButton* done_;
  BusyRing* busy_;
  QToolButton* inspector_;
  QMenu* formats_;
  QPoint pressedAt_;
  bool isDragAsked_ = false;
};

}  // namespace vantorel
