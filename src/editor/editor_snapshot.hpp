#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editor/records/editor_document.hpp"
#include "editor/shapes_delta.hpp"

namespace vantorel {

/// What editing changes, as a value that is cheap to copy: snapshots share every part that is the
/// same in both. Parts are never null and never changed in place.
struct EditorSnapshot {
  using Shapes = ShapeList;

  std::shared_ptr<const Shapes> shapes;
  std::optional<StoredBox> crop;
  std::shared_ptr<const BackgroundSpec> background;
  std::shared_ptr<const std::vector<LayerSpec>> layers;
  std::shared_ptr<const CanvasSpec> canvas;

  /// Takes over everything but the document's unknown keys.
  static EditorSnapshot of(EditorDocument document);

  /// Without unknown keys.
  [[nodiscard]] EditorDocument document() const;

  [[nodiscard]] const Shape* find(const std::string& shapeID) const;
  [[nodiscard]] const LayerSpec* findLayer(const std::string& layerID) const;

  void setShapes(Shapes changed);
  void setLayers(std::vector<LayerSpec> changed);
  void setCanvas(CanvasSpec changed);
  void setBackground(BackgroundSpec changed);

  /// Replaces the shapes of the same ids.
  void replace(std::vector<Shape> changed);
  void replace(Shape shape);
  void append(Shape shape);

  /// By value: two snapshots that share nothing can be equal.
  bool operator==(const EditorSnapshot& other) const;
};

/// The steps that can be undone and redone. Keeps of each what it changed.
class UndoHistory {
 public:
  /// Beyond this the oldest steps are forgotten.
  static constexpr std::size_t maximumSteps = 1000;

  /// Notes that the step `name` made `after` of `before`. What could be redone is gone.
  void push(EditorSnapshot before, const EditorSnapshot& after, std::string name);

  /// Changes `current`, the state after the latest step, to the one before it; false when there is
  /// none.
  bool undo(EditorSnapshot& current);
  bool redo(EditorSnapshot& current);

  /// The step that `undo` (`redo`) would take back (do again); empty when there is none.
  [[nodiscard]] std::string undoName() const;
  [[nodiscard]] std::string redoName() const;

 private:
  struct Step {
    EditorSnapshot other;  // the state at the step's far side, without shapes
    bool sharesShapes = false;
    ShapesDelta shapes;  // from the near side to the far one
    std::string name;
  };
  static Step stepTo(EditorSnapshot other, const EditorSnapshot& near, std::string name);
  static bool cross(std::deque<Step>& from, std::deque<Step>& to, EditorSnapshot& current);

  std::deque<Step> past_;
  std::deque<Step> future_;
};

}  // namespace vantorel
