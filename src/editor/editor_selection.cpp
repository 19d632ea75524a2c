// The part of the editor model that deals with what is selected.

#include <algorithm>
#include <utility>

#include "base/random_id.hpp"
#include "editor/editor_model.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {

void EditorModel::select(std::set<std::string> shapeIDs) {
  endStep();
  selection_ = std::move(shapeIDs);
  if (!selection_.empty()) selectedLayerID_.reset();
  stateReplaced();
}

void EditorModel::selectAll() {
  std::set<std::string> all;
  for (const auto& shape : *state_.shapes) {
    if (isShown(*shape)) all.insert(shape->id);
  }
  select(std::move(all));
}

const LayerSpec* EditorModel::selectedLayer() const {
  return selectedLayerID_ ? state_.findLayer(*selectedLayerID_) : nullptr;
}

void EditorModel::selectLayer(const std::optional<std::string>& layerID) {
  endText();
  endStep();
  selectedLayerID_ = layerID;
  if (layerID) selection_.clear();
  stateReplaced();
}

std::vector<Shape> EditorModel::selectedShapes() const {
  std::vector<Shape> shapes;
  for (const auto& shape : *state_.shapes) {
    if (selection_.contains(shape->id)) shapes.push_back(*shape);
  }
  return shapes;
}

bool EditorModel::deleteSelection() {
  if (const LayerSpec* const layer = selectedLayer()) return deleteLayer(std::string(layer->id));
  if (selection_.empty()) return false;
  return edit(selection_.size() == 1 ? "Delete Annotation" : "Delete Annotations",
              [&](EditorSnapshot& state) {
                EditorSnapshot::Shapes kept = *state.shapes;
                std::erase_if(kept,
                              [&](const auto& shape) { return selection_.contains(shape->id); });
                state.setShapes(std::move(kept));
              });
}

void EditorModel::nudge(double dx, double dy) {
  if (selection_.empty() && selectedLayer() == nullptr) return;
  if (!step_ || !step_->isNudge) {
    beginStep(selectedLayer() != nullptr ? "Move Layer" : "Move");
  }
  // `edit` would end a run of nudges, so the mark is set again behind it.
  step_->isNudge = false;
  if (const LayerSpec* const layer = selectedLayer()) {
    const Box frame{layer->frame.x + dx, layer->frame.y + dy, layer->frame.w, layer->frame.h};
    setLayerFrame(std::string(layer->id), frame);
  } else {
    edit("Move", [&](EditorSnapshot& state) {
      std::vector<Shape> shapes = selectedShapes();
      for (Shape& shape : shapes) shape = mapped(std::move(shape), {1, 1, dx, dy});
      state.replace(std::move(shapes));
    });
  }
  step_->isNudge = true;
}

bool EditorModel::isShown(const Shape& shape) const {
  return vantorel::isShown(shape, *state_.layers, capture_);
}

const Shape* EditorModel::shapeAt(Pt point, double tolerance) const {
  for (auto shape = state_.shapes->rbegin(); shape != state_.shapes->rend(); ++shape) {
    if (isShown(**shape) && hits(**shape, point, tolerance, measureText_)) return shape->get();
  }
  return nullptr;
}

std::string EditorModel::copiedShapes() const {
  const std::vector<Shape> shapes = selectedShapes();
  return shapes.empty() ? "" : json::toText(shapes);
}

bool EditorModel::pasteShapes(std::string_view text) {
  constexpr double offset = 12;
  auto shapes = json::fromText<std::vector<Shape>>(text);
  if (!shapes || shapes->empty()) return false;
  std::set<std::string> pasted;
  edit(shapes->size() == 1 ? "Paste Annotation" : "Paste Annotations", [&](EditorSnapshot& state) {
    for (Shape& shape : *shapes) {
      shape = mapped(std::move(shape), {1, 1, offset, offset});
      shape.id = randomID();
      if (shape.layerId && state.findLayer(*shape.layerId) == nullptr) shape.layerId.reset();
      pasted.insert(shape.id);
      state.append(std::move(shape));
    }
  });
  select(std::move(pasted));
  return true;
}

}  // namespace vantorel
