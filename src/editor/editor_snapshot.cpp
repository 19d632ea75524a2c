#include "editor/editor_snapshot.hpp"

#include <algorithm>
#include <string_view>
#include <unordered_map>
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

void EditorSnapshot::replace(std::vector<Shape> changed) {
  // A few are found sooner one by one than all are counted up.
  constexpr std::size_t few = 4;
  if (changed.size() <= few) {
    for (Shape& shape : changed) replace(std::move(shape));
    return;
  }
  Shapes all = *shapes;
  std::unordered_map<std::string_view, std::shared_ptr<const Shape>*> places;
  places.reserve(all.size());
  for (auto& held : all) places.emplace(held->id, &held);
  // An id that is looked up must not die with the shape it belonged to.
  Shapes replaced;
  replaced.reserve(changed.size());
  for (Shape& shape : changed) {
    const auto place = places.find(shape.id);
    if (place == places.end()) continue;
    replaced.push_back(
        std::exchange(*place->second, std::make_shared<const Shape>(std::move(shape))));
  }
  setShapes(std::move(all));
}

void EditorSnapshot::replace(Shape shape) {
  Shapes all = *shapes;
  const auto held =
      std::ranges::find_if(all, [&shape](const auto& other) { return other->id == shape.id; });
  if (held == all.end()) return;
  *held = std::make_shared<const Shape>(std::move(shape));
  setShapes(std::move(all));
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

UndoHistory::Step UndoHistory::stepTo(EditorSnapshot other, const EditorSnapshot& near,
                                      std::string name) {
  Step step{std::move(other), false, {}, std::move(name)};
  step.sharesShapes = step.other.shapes == near.shapes;
  if (!step.sharesShapes) step.shapes = ShapesDelta(*near.shapes, *step.other.shapes);
  step.other.shapes.reset();
  return step;
}

void UndoHistory::push(EditorSnapshot before, const EditorSnapshot& after, std::string name) {
  future_.clear();
  past_.push_back(stepTo(std::move(before), after, std::move(name)));
  if (past_.size() > maximumSteps) past_.pop_front();
}

bool UndoHistory::cross(std::deque<Step>& from, std::deque<Step>& to, EditorSnapshot& current) {
  if (from.empty()) return false;
  Step step = std::move(from.back());
  from.pop_back();
  EditorSnapshot reached = std::move(step.other);
  reached.shapes = current.shapes;
  if (!step.sharesShapes) reached.setShapes(step.shapes.applied(*current.shapes));
  to.push_back(stepTo(std::exchange(current, reached), reached, std::move(step.name)));
  return true;
}

bool UndoHistory::undo(EditorSnapshot& current) { return cross(past_, future_, current); }
bool UndoHistory::redo(EditorSnapshot& current) { return cross(future_, past_, current); }

std::string UndoHistory::undoName() const { return past_.empty() ? "" : past_.back().name; }
std::string UndoHistory::redoName() const { return future_.empty() ? "" : future_.back().name; }

}  // namespace vantorel
