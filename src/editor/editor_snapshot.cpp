#include "editor/editor_snapshot.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {
namespace {

template <class Part>
bool sameValue(const std::shared_ptr<const Part>& a, const std::shared_ptr<const Part>& b) {
  return a == b || *a == *b;
}

}  // namespace

EditorSnapshot EditorSnapshot::of(EditorDocument document) {
  EditorSnapshot snapshot;
  Shapes shapes;
  shapes.reserve(document.shapes.size());
  for (Shape& shape : document.shapes) {
    shapes.push_back(std::make_shared<const Shape>(std::move(shape)));
  }
  snapshot.setShapes(std::move(shapes));
  snapshot.crop = document.crop;
  snapshot.setBackground(std::move(document.background));
  snapshot.setLayers(std::move(document.layers));
  snapshot.setCanvas(std::move(document.canvas));
  return snapshot;
}

EditorDocument EditorSnapshot::document() const {
  EditorDocument document;
  document.shapes.reserve(shapes->size());
  for (const auto& shape : *shapes) document.shapes.push_back(*shape);
  document.crop = crop;
  document.background = *background;
  document.layers = *layers;
  document.canvas = *canvas;
  return document;
}

const Shape* EditorSnapshot::find(const std::string& shapeID) const {
  for (const auto& shape : *shapes) {
    if (shape->id == shapeID) return shape.get();
  }
  return nullptr;
}

const LayerSpec* EditorSnapshot::findLayer(const std::string& layerID) const {
  const auto found = std::ranges::find(*layers, layerID, &LayerSpec::id);
  return found == layers->end() ? nullptr : &*found;
}

void EditorSnapshot::setShapes(Shapes changed) {
  shapes = std::make_shared<const Shapes>(std::move(changed));
}

void EditorSnapshot::setLayers(std::vector<LayerSpec> changed) {
  layers = std::make_shared<const std::vector<LayerSpec>>(std::move(changed));
}

void EditorSnapshot::setCanvas(CanvasSpec changed) {
  canvas = std::make_shared<const CanvasSpec>(std::move(changed));
}

void EditorSnapshot::setBackground(BackgroundSpec changed) {
  background = std::make_shared<const BackgroundSpec>(std::move(changed));
}

void EditorSnapshot::replace(Shape shape) {
  Shapes changed = *shapes;
  for (auto& held : changed) {
    if (held->id != shape.id) continue;
    held = std::make_shared<const Shape>(std::move(shape));
    break;
  }
  setShapes(std::move(changed));
}

void EditorSnapshot::append(Shape shape) {
  Shapes changed = *shapes;
  changed.push_back(std::make_shared<const Shape>(std::move(shape)));
  setShapes(std::move(changed));
}

bool EditorSnapshot::operator==(const EditorSnapshot& other) const {
  const auto sameShapes = [](const Shapes& a, const Shapes& b) {
    return std::ranges::equal(a, b, sameValue<Shape>);
  };
  return crop == other.crop && sameValue(background, other.background) &&
         sameValue(layers, other.layers) && sameValue(canvas, other.canvas) &&
         (shapes == other.shapes || sameShapes(*shapes, *other.shapes));
}

void UndoHistory::push(EditorSnapshot before, std::string name) {
  future_.clear();
  past_.push_back({std::move(before), std::move(name)});
  if (past_.size() > mostSteps) past_.pop_front();
}

bool UndoHistory::undo(EditorSnapshot& current) {
  if (past_.empty()) return false;
  Step step = std::move(past_.back());
  past_.pop_back();
  std::swap(current, step.other);
  future_.push_back(std::move(step));
  return true;
}

bool UndoHistory::redo(EditorSnapshot& current) {
  if (future_.empty()) return false;
  Step step = std::move(future_.back());
  future_.pop_back();
  std::swap(current, step.other);
  past_.push_back(std::move(step));
  return true;
}

std::string UndoHistory::undoName() const { return past_.empty() ? "" : past_.back().name; }
std::string UndoHistory::redoName() const { return future_.empty() ? "" : future_.back().name; }

}  // namespace vantorel
