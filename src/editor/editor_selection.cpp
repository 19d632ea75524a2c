// The part of the editor model that deals with what is selected.

#include <algorithm>
#include <utility>

#include "base/random_id.hpp"
#include "editor/editor_model.hpp"
#include "editor/shape_layers.hpp"
#include "editor/step_names.hpp"

namespace vantorel {

void EditorModel::select(std::set<std::string> shapeIDs) {
  endStep();
  selection_ = std::move(shapeIDs);
  if (!selection_.empty()) selectedLayerID_.reset();
  stateReplaced();
}

void EditorModel::selectAll() {
  std::set<std::string> all;
  const auto isSeen = shownBy(*state_.layers, capture_);
  for (const auto& shape : *state_.shapes) {
    if (isSeen(*shape)) all.insert(shape->id);
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

void EditorModel::selectNext(int direction) {
  if (tool_ == Tool::crop) return;  // its frame is what is worked on
  endText();
  const auto& shapes = *state_.shapes;
  std::vector<std::size_t> shown;  // front to back
  const auto isSeen = shownBy(*state_.layers, capture_);
  for (std::size_t i = shapes.size(); i-- > 0;) {
    if (isSeen(*shapes[i])) shown.push_back(i);
  }
  if (shown.empty()) return;
  if (direction < 0) std::ranges::reverse(shown);
  std::size_t next = 0;
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (selection_.contains(shapes[shown[i]]->id)) next = i + 1;  // behind the last of several
  }
  select({shapes[shown[next % shown.size()]]->id});
}

bool EditorModel::deleteSelection() {
  if (const LayerSpec* const layer = selectedLayer()) return deleteLayer(std::string(layer->id));
  if (selection_.empty()) return false;
  return edit(selectionStep("Delete"), [&](EditorSnapshot& state) {
    EditorSnapshot::Shapes kept = *state.shapes;
    std::erase_if(kept, [&](const auto& shape) { return selection_.contains(shape->id); });
    state.setShapes(std::move(kept));
  });
}

std::string EditorModel::selectionStep(std::string_view verb) const {
  if (selectedLayer() != nullptr) return std::string(verb) + " Layer";
  const Shape* const first = selection_.empty() ? nullptr : state_.find(*selection_.begin());
  return stepName(verb, selection_.size(), first == nullptr ? ShapeType::pen : first->type);
}

/// Makes a change that goes on in the step of the same name that came right before.
void EditorModel::nudgeWith(const std::string& name, const std::function<void()>& change) {
  if (!step_ || !step_->goesOn || step_->name != name) beginStep(name);
  // `edit` would end a row of them, so the mark is set again behind it.
  step_->goesOn = false;
  change();
  step_->goesOn = true;
}

void EditorModel::nudge(double dx, double dy) {
  if (selection_.empty() && selectedLayer() == nullptr) return;
  nudgeWith(selectionStep("Move"), [&] {
    if (const LayerSpec* const layer = selectedLayer()) {
      const Box frame{layer->frame.x + dx, layer->frame.y + dy, layer->frame.w, layer->frame.h};
      setLayerFrame(std::string(layer->id), frame);
      return;
    }
    edit("Move", [&](EditorSnapshot& state) {
      std::vector<Shape> shapes = selectedShapes();
      for (Shape& shape : shapes) shape = mapped(std::move(shape), {1, 1, dx, dy});
      state.replace(std::move(shapes));
    });
  });
}

void EditorModel::resizeSelection(double dw, double dh) {
  if (selection_.empty() && selectedLayer() == nullptr) return;
  nudgeWith(selectionStep("Resize"), [&] {
    if (const LayerSpec* const layer = selectedLayer()) {
      const Box frame{layer->frame.x, layer->frame.y, std::max(layer->frame.w + dw, 1.0),
                      std::max(layer->frame.h + dh, 1.0)};
      setLayerFrame(std::string(layer->id), frame);
      return;
    }
    edit("Resize", [&](EditorSnapshot& state) {
      std::vector<Shape> shapes = selectedShapes();
      for (Shape& shape : shapes) shape = enlarged(shape, dw, dh, frameOfShape(shape));
      state.replace(std::move(shapes));
    });
  });
}

void EditorModel::stepWidth(int by) {
  changeStyle([by](ToolStyle& style) {
    const int last = static_cast<int>(strokeWidths.size()) - 1;
    style.widthIdx = std::clamp(std::clamp(style.widthIdx, 0, last) + by, 0, last);
  });
}

bool EditorModel::duplicate() {
  endText();
  const double offset = 10 * styleScale();
  if (const LayerSpec* const layer = selectedLayer()) {
    if (!layer->path) return false;
    LayerSpec copy = *layer;
    copy.id = randomID();
    copy.locked = false;
    copy.frame.x += offset;
    copy.frame.y += offset;
    const std::string id = copy.id;
    const bool isDone = edit("Duplicate Layer", [&](EditorSnapshot& state) {
      std::vector<LayerSpec> layers = *state.layers;
      const auto original = std::ranges::find(layers, *selectedLayerID_, &LayerSpec::id);
      layers.insert(std::next(original), std::move(copy));
      state.setLayers(std::move(layers));
    });
    selectLayer(id);
    return isDone;
  }
  std::vector<Shape> copies = selectedShapes();
  if (copies.empty()) return false;
  std::set<std::string> ids;
  edit(selectionStep("Duplicate"), [&](EditorSnapshot& state) {
    for (Shape& copy : copies) {
      copy = mapped(std::move(copy), {1, 1, offset, offset});
      copy.id = randomID();
      ids.insert(copy.id);
      state.append(std::move(copy));
    }
  });
  select(std::move(ids));
  return true;
}

bool EditorModel::reorder(Order order, std::string_view name) {
  endText();
  const bool isUp = order == Order::forward || order == Order::front;
  const bool isFar = order == Order::front || order == Order::back;
  if (const LayerSpec* const layer = selectedLayer()) {
    const auto& layers = *state_.layers;
    const auto at = static_cast<std::size_t>(layer - layers.data());
    const std::size_t last = layers.size() - 1;
    if (at == (isUp ? last : 0)) return false;
    const std::size_t near = isUp ? at + 1 : at - 1;
    return moveLayerTo(std::string(layer->id), isFar ? (isUp ? last : 0) : near, name);
  }
  if (selection_.empty()) return false;
  return edit(name, [&](EditorSnapshot& state) {
    EditorSnapshot::Shapes shapes = *state.shapes;
    const auto isSelected = [&](const auto& shape) { return selection_.contains(shape->id); };
    if (isFar) {
      std::ranges::stable_partition(shapes,
                                    [&](const auto& shape) { return isSelected(shape) != isUp; });
    } else {
      if (isUp) std::ranges::reverse(shapes);
      // Those at the end already stay there; each of the others passes one that is not selected.
      for (std::size_t i = 1; i < shapes.size(); ++i) {
        if (isSelected(shapes[i]) && !isSelected(shapes[i - 1])) {
          std::swap(shapes[i], shapes[i - 1]);
        }
      }
      if (isUp) std::ranges::reverse(shapes);
    }
    state.setShapes(std::move(shapes));
  });
}

bool EditorModel::bringForward() { return reorder(Order::forward, "Bring Forward"); }
bool EditorModel::sendBackward() { return reorder(Order::backward, "Send Backward"); }
bool EditorModel::bringToFront() { return reorder(Order::front, "Bring to Front"); }
bool EditorModel::sendToBack() { return reorder(Order::back, "Send to Back"); }

bool EditorModel::isShown(const Shape& shape) const {
  return vantorel::isShown(shape, *state_.layers, capture_);
}

const Shape* EditorModel::shapeAt(Pt point, double tolerance) const {
  const auto isSeen = shownBy(*state_.layers, capture_);
  for (auto shape = state_.shapes->rbegin(); shape != state_.shapes->rend(); ++shape) {
    if (hits(**shape, point, tolerance, measureText_) && isSeen(**shape)) return shape->get();
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
  edit(stepName("Paste", shapes->size(), shapes->front().type), [&](EditorSnapshot& state) {
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
