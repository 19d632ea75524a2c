#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QImage>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/annotate_model.hpp"
#include "editor/canvas_scene.hpp"
#include "editor/canvas_viewport.hpp"
#include "ui/annotate/canvas_overlay.hpp"
#include "ui/selection/loupe.hpp"

class QKeyEvent;
class QTextFormat;

namespace vantorel {

class BusyRing;

/// The picture that is annotated, with hands on it. It paints pixels that are there already, and
/// only where something changed; what pointer, keys and input methods mean is the model's. Lives on
/// the main thread.
class AnnotateCanvas : public QWidget {
 public:
  AnnotateCanvas(std::shared_ptr<AnnotateModel> model, QWidget* parent);
  ~AnnotateCanvas() override;

  /// Takes up what the model has changed, beside the pixels, of which the canvas hears by itself.
  void refresh();

  [[nodiscard]] AnnotateModel& model() const { return *model_; }
  [[nodiscard]] bool isReady() const { return model_->stage() == AnnotateModel::Stage::ready; }

  // How the picture is seen. `zoom` is device pixels a picture pixel.
  [[nodiscard]] double zoom() const { return view_.zoom(); }
  [[nodiscard]] bool isFit() const { return view_.isFit(); }
  void fit();
  void setZoom(double zoom);
  void zoomIn();
  void zoomOut();

  /// Where a place of the canvas is in the widget, in px.
  [[nodiscard]] QRectF areaOf(const Box& canvas) const;
  [[nodiscard]] Pt canvasAt(QPointF at) const;

  /// Where a shape is seen, in px.
  [[nodiscard]] QRect areaOfShape(const Shape& shape) const;

  /// Whether the pointer is doing something that is not ended.
  [[nodiscard]] bool isInGesture() const { return isPressed_; }

  /// Outlines these places of the canvas, which a list points to; none ends it.
  void outline(std::vector<Box> boxes);

  /// A key that no other part of the window has used. True when it meant something here.
  bool take(const QKeyEvent& event);

  /// Where a menu of the selection opens, in px.
  [[nodiscard]] QPoint menuPlace() const;

  std::function<void()> onViewChanged;  ///< zoom, or what is seen
  std::function<void()> onHint;         ///< what the line below says may be another
  /// The crop frame in px, empty without one, and all of the canvas.
  std::function<void(const QRect& frame, const QRect& whole)> onCropMoved;
  std::function<void(Tool tool)> onToolKey;  ///< a letter has picked it, maybe once more
  std::function<void(const QPoint& global)> onMenu;
  /// Files from elsewhere, at a place of the canvas.
  std::function<void(const std::vector<Path>& files, Pt at)> onDropped;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  bool focusNextPrevChild(bool isNext) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void changeEvent(QEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  // Painting.
  void paintPart(QPainter& painter, const QRect& part) const;
  void paintPixels(QPainter& painter, const QRect& part) const;
  void paintPreview(QPainter& painter, const QRect& part) const;
  void paintGrid(QPainter& painter, const QRect& part) const;
  void paintRing(QPainter& painter) const;
  [[nodiscard]] QRect pictureArea() const;
  [[nodiscard]] CanvasOverlay overlayNow() const;
  [[nodiscard]] std::vector<QRectF> framesNow() const;
  [[nodiscard]] QPainterPath outlineOf(const Shape& shape) const;
  void sceneChanged(const CanvasScene::Change& change);
  void takeContent();
  void updateOverlay();
  void updateLoupe();
  void reveal(QRectF area);
  void revealWork();
  void updateDevice(const QRegion& region);
  void viewMoved();
  void layOut();
  void showFirst();

  // Pointer.
  void press(QMouseEvent& event, int clicks);
  void send(PointerPhase phase, QPointF device);
  void endGesture();
  void pan(QPointF device);
  void hover(QPointF device);
  void updateCursor();
  void updateMoves() const;
  void zoomTo(double zoom, QPointF device);
  void moveGently();
  void moveByEdge();
  [[nodiscard]] double edgeReach() const;
  [[nodiscard]] PointerEvent pointerEvent(PointerPhase phase, QPointF device) const;
  [[nodiscard]] QPointF toDevice(QPointF at) const { return at * ratio_; }

  // Keys.
  bool handleKey(const KeyEvent& key);
  [[nodiscard]] bool isTyping() const;
  void typingChanged();
  void restartCaret();
  [[nodiscard]] QRectF caretArea() const;

  void announceSelection();
  void showRing(bool isShown);
  void showDropTarget(bool isShown);

  std::shared_ptr<AnnotateModel> model_;
  BusyRing* loading_;
  CanvasViewport view_;
  Box content_;  // the part of the canvas that is shown
  CanvasOverlay overlay_;
  double ratio_ = 1;
  bool isAsOpened_ = true;  // nobody has zoomed or moved it yet
  bool hasPixels_ = false;  // of the scene; before that there is a preview
  Pt captureOrigin_;        // on the canvas, as it was last

  bool isPressed_ = false;  // the input's gesture
  bool isPanning_ = false;
  bool isSpaceHeld_ = false;
  int clicks_ = 1;
  QElapsedTimer lastPress_;
  QPointF lastPressAt_;
  QPointF pointer_;  // device pixels
  Qt::KeyboardModifiers modifiers_;
  bool hasPointer_ = false;
  std::optional<Loupe> loupe_;  // of the eyedropper
  QRect cropFrame_;
  QRect cropWhole_;
  std::optional<std::string> hovered_;
  std::vector<Box> outlined_;

  bool wasTyping_ = false;
  bool isComposing_ = false;
  bool isCaretShown_ = true;

  bool isMoving_ = false;  // smooth painting comes once it stands still
  QBasicTimer smooth_;
  QBasicTimer edge_;
  QElapsedTimer edgeTime_;
  QBasicTimer caret_;
  std::string announced_;
  bool isDropTarget_ = false;
  bool isRinged_ = false;  // the keyboard has come here by itself
  Observation scene_;
};

}  // namespace vantorel
