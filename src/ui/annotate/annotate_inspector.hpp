#pragma once

#include <QBasicTimer>
#include <QScrollArea>
#include <functional>
#include <memory>
#include <vector>

#include "base/observers.hpp"
#include "ui/annotate/inspected_editor.hpp"

namespace vantorel {

class BackgroundSection;
class CanvasSection;
class InspectorSection;
class LayerSection;
class LayersSection;
class SmartRedactSection;
class StyleSection;

/// The right side of an Annotate window: how what is selected looks, the layers, the background and
/// the canvas. Follows the model a few dozen times a second at most, and not while it is hidden.
/// Lives on the main thread.
class AnnotateInspector : public QScrollArea {
 public:
  static constexpr int usualWidth = 280;
  /// More for a large font, as far as windows have room.
  [[nodiscard]] static int wantedWidth();

  /// Empty until the model is ready.
  AnnotateInspector(std::shared_ptr<AnnotateModel> model, QWidget* parent);
  AnnotateInspector(InspectedEditor editor, QWidget* parent);

  /// At once, as before a picture is taken of it.
  void refresh();

  /// What should not be shared, on top: brings it into view.
  void revealSmartRedact();
  /// The boxes of what is pointed to there, in canvas pixels; none when it is left.
  std::function<void(const std::vector<vantorel::Box>& boxes)> onFindsPointed;

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  bool event(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  explicit AnnotateInspector(QWidget* parent);
  void begin(InspectedEditor editor);
  [[nodiscard]] std::vector<InspectorSection*> sections() const;
  void changed();
  void reveal(InspectorSection& section);
  void placeBar();

  std::shared_ptr<AnnotateModel> model_;  // outlives what works on its editor
  InspectedEditor editor_;
  SmartRedactSection* smartRedact_ = nullptr;  // null where there is none
  StyleSection* style_ = nullptr;              // null until there is an editor
  LayerSection* layer_ = nullptr;
  LayersSection* layers_ = nullptr;
  BackgroundSection* background_ = nullptr;
  CanvasSection* canvas_ = nullptr;
  QScrollBar* bar_;
  QBasicTimer pause_;
  bool isBehind_ = true;
  Observation changes_;
  Observation finds_;
};

}  // namespace vantorel
