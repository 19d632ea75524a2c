#include "editor/editor_model.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "base/random_id.hpp"
#include "editor/document_changes.hpp"
#include "editor/shape_layers.hpp"
#include "editor/text_sizes.hpp"
#include "editor/tool_spec.hpp"

namespace vantorel {
namespace {

MeasureText measureWith(MeasureText measure, const LayOutText& layOut) {
  if (measure || !layOut) return measure;
  return [layOut](const Shape& text) { return layOut(text)->box(); };
}

/// What a step that makes one style of another is called.
std::string_view styleStep(const ToolStyle& before, const ToolStyle& after) {
  ToolStyle rest = before;
  rest.color = after.color;
  if (rest == after) return "Change Color";
  rest = before;
  rest.widthIdx = after.widthIdx;
  if (rest == after) return "Change Width";
  rest = before;
  rest.opacity = after.opacity;
  if (rest == after) return "Change Opacity";
  rest = before;
  rest.fill = after.fill;
  return rest == after ? "Change Fill" : "Change Style";
}

}  // namespace

EditorModel::EditorModel(EditorOpening opening, EditorEvents events)
    : capture_(opening.capture),
      captureScale_(opening.captureScale),
      layOut_(std::move(opening.layOut)),
      measureText_(remembering(measureWith(std::move(opening.measureText), layOut_))),
      events_(std::move(events)),
      documentExtra_(std::move(opening.document.extra)),
      styles_(std::move(opening.styles)) {
  EditorDocument& document = opening.document;
  const bool combined = opening.combine && document.layers.empty();
  if (combined) addAsLayers(*opening.combine, capture_, document);
  const CanvasSize canvas = canvasSizeOf(document.canvas, capture_);
  document.canvas.width = canvas.width;
  document.canvas.height = canvas.height;
  state_ = EditorSnapshot::of(std::move(document));
  shareRedactions(state_);
  baseline_ = state_;
  if (combined) events_.report("Combine arrangement is now layers");
}

EditorDocument EditorModel::document() const {
  EditorDocument document = state_.document();
  document.extra = documentExtra_;
  return document;
}

EditorDocument EditorModel::baseline() const {
  EditorDocument document = baseline_.document();
  document.extra = documentExtra_;
  return document;
}

EditorDocument EditorModel::scene() const {
  EditorDocument document = EditorModel::document();
  if (!draft_) return document;
  if (typing_ && typing_->shapeID) {
    const auto edited = std::ranges::find(document.shapes, *typing_->shapeID, &Shape::id);
    if (edited != document.shapes.end()) {
      *edited = shownDraft();
      return document;
    }
  }
  document.shapes.push_back(shownDraft());
  return document;
}

ShapeList EditorModel::sceneShapes() const {
  ShapeList shapes = *state_.shapes;
  if (!draft_) return shapes;
  auto drawn = std::make_shared<const Shape>(shownDraft());
  if (typing_ && typing_->shapeID) {
    const auto edited = std::ranges::find_if(
        shapes, [this](const auto& shape) { return shape->id == *typing_->shapeID; });
    if (edited != shapes.end()) {
      *edited = std::move(drawn);
      return shapes;
    }
  }
  shapes.push_back(std::move(drawn));
  return shapes;
}

bool EditorModel::hasUnsavedChanges() const { return state_ != baseline_ || isTyping(); }

std::string EditorModel::unsavedChanges() const {
  return describeChanges(baseline_.document(), state_.document(),
                         isTyping() ? TextLabel::unfinished : TextLabel::none);
}

void EditorModel::markSaved(EditorDocument document) {
  baseline_ = EditorSnapshot::of(std::move(document));
}

void EditorModel::beginStep(std::string name) {
  endStep();
  ++interruptions_;
  step_ = OpenStep{state_, std::move(name)};
}

void EditorModel::endStep() {
  if (!step_) return;
  OpenStep step = std::move(*step_);
  step_.reset();
  ++interruptions_;
  settleRedactions(step.before, state_);
  if (step.before == state_) {
    state_ = std::move(step.before);
  } else {
    history_.push(std::move(step.before), state_, std::move(step.name));
  }
  events_.changed();
}

void EditorModel::cancelStep() {
  if (!step_) return;
  state_ = std::move(step_->before);
  step_.reset();
  stateReplaced();
}

bool EditorModel::edit(std::string_view name, const std::function<void(EditorSnapshot&)>& change) {
  if (step_ && step_->goesOn) endStep();
  EditorSnapshot changed = state_;
  change(changed);
  if (changed == state_) return false;
  if (!step_) {
    settleRedactions(state_, changed);
    history_.push(state_, changed, std::string(name));
  }
  state_ = std::move(changed);
  stateReplaced();
  return true;
}

/// Lets redactions that came, or went to another place, belong to the images they lie on.
void EditorModel::settleRedactions(const EditorSnapshot& before, EditorSnapshot& state) const {
  if (state.layers->empty() || before.shapes == state.shapes || before.layers != state.layers) {
    return;
  }
  std::unordered_map<std::string_view, const Shape*> known;
  for (const auto& shape : *before.shapes) known.emplace(shape->id, shape.get());
  EditorSnapshot::Shapes shapes;
  shapes.reserve(state.shapes->size());
  for (const auto& shape : *state.shapes) {
    const auto found = known.find(shape->id);
    const bool isPlaced = shape->type == ShapeType::redact &&
                          (found == known.end() || frameOf(*found->second) != frameOf(*shape));
    if (!isPlaced) {
      shapes.push_back(shape);
      continue;
    }
    Shape placed = *shape;
    placed.layerId = layerBelow(placed, *state.layers, capture_);
    for (Shape& share : sharesOf(placed, *state.shapes, *state.layers, capture_)) {
      shapes.push_back(std::make_shared<const Shape>(std::move(share)));
    }
    shapes.push_back(std::make_shared<const Shape>(std::move(placed)));
  }
  state.setShapes(std::move(shapes));
}

/// Redactions of a document that no editor made need not say what they lie on.
void EditorModel::shareRedactions(EditorSnapshot& state) const {
  if (state.layers->empty()) return;
  EditorSnapshot::Shapes shapes;
  for (const auto& shape : *state.shapes) {
    if (shape->type == ShapeType::redact) {
      for (Shape& share : sharesOf(*shape, *state.shapes, *state.layers, capture_)) {
        shapes.push_back(std::make_shared<const Shape>(std::move(share)));
      }
    }
    shapes.push_back(shape);
  }
  if (shapes.size() != state.shapes->size()) state.setShapes(std::move(shapes));
}

/// The selection never names what is no longer there.
void EditorModel::stateReplaced() {
  if (!selection_.empty()) {
    std::set<std::string> kept;
    for (const auto& shape : *state_.shapes) {
      if (auto held = selection_.extract(shape->id)) kept.insert(std::move(held));
    }
    selection_ = std::move(kept);
  }
  if (selectedLayerID_ && state_.findLayer(*selectedLayerID_) == nullptr) selectedLayerID_.reset();
  events_.changed();
}

bool EditorModel::undo() {
  if (typing_) {
    if (!typing_->editing.undo()) return false;
    typed();
    return true;
  }
  ++interruptions_;
  if (draft_) {
    setDraft(std::nullopt);
    return true;
  }
  endStep();
  if (!history_.undo(state_)) return false;
  stateReplaced();
  return true;
}

bool EditorModel::redo() {
  if (typing_) {
    if (!typing_->editing.redo()) return false;
    typed();
    return true;
  }
  if (draft_) return false;
  ++interruptions_;
  endStep();
  if (!history_.redo(state_)) return false;
  stateReplaced();
  return true;
}

// The step still open, as a run of nudges is, ends with the undo and clears what could be redone.
std::string EditorModel::undoName() const {
  if (typing_) return typing_->editing.canUndo() ? "Typing" : "";
  return isStepPending() ? step_->name : history_.undoName();
}

std::string EditorModel::redoName() const {
  if (typing_) return typing_->editing.canRedo() ? "Typing" : "";
  return isStepPending() ? "" : history_.redoName();
}

void EditorModel::pickTool(Tool tool) {
  ++interruptions_;
  endText();
  endStep();
  if (pendingCrop_) applyCrop();
  draft_.reset();
  // What was just drawn goes on being worked with.
  if (tool != Tool::select) selection_.clear();
  tool_ = tool;
  if (tool == Tool::crop) pendingCrop_ = cropOnCanvas();
  events_.changed();
}

double EditorModel::styleScale() const { return std::clamp(captureScale_.value_or(1), 0.5, 8.0); }

ToolStyle EditorModel::style() const {
  if (typing_) return styleShownBy(*draft_, styleScale());
  for (const auto& shape : *state_.shapes) {
    if (selection_.contains(shape->id)) return styleShownBy(*shape, styleScale());
  }
  return styleOf(tool_, styles_);
}

void EditorModel::changeStyle(const std::function<void(ToolStyle&)>& change) {
  std::set<Tool> touched;
  const auto restyled = [&](Shape shape) {
    const ToolStyle before = styleShownBy(shape, styleScale());
    ToolStyle after = before;
    change(after);
    restyle(shape, before, after, styleScale());
    touched.insert(toolOf(shape.type));
    return shape;
  };
  if (typing_) {
    draft_ = restyled(*draft_);
  } else if (!selection_.empty()) {
    std::vector<Shape> shapes = selectedShapes();
    const ToolStyle before = style();
    for (Shape& shape : shapes) shape = restyled(std::move(shape));
    ToolStyle after = before;
    change(after);
    edit(styleStep(before, after),
         [&](EditorSnapshot& state) { state.replace(std::move(shapes)); });
  } else {
    touched.insert(tool_);
  }
  for (const Tool tool : touched) {
    ToolStyle style = styleOf(tool, styles_);
    change(style);
    styles_[std::string(nameOf(tool))] = onlyWhatMatters(tool, std::move(style));
  }
  events_.stylesChanged(styles_);
  events_.changed();
}

std::string EditorModel::hint(TextReading reading, bool textSelected) const {
  HintSituation situation;
  situation.tool = tool_;
  situation.selectedShapes = static_cast<int>(selection_.size());
  if (const LayerSpec* const layer = selectedLayer()) {
    situation.layerSelected = true;
    situation.layerLocked = layer->locked;
    situation.layerRemovable = layer->path.has_value();
    situation.layerName = layer->name;
  }
  situation.reading = reading;
  situation.textSelected = textSelected;
  const LayerSpec* const capture = captureLayer(*state_.layers);
  situation.captureHidden = capture != nullptr && !capture->visible;
  return hintLine(situation);
}

Shape EditorModel::newShape(ShapeType type) const {
  Shape shape;
  shape.id = randomID();
  shape.type = type;
  dress(shape, styleOf(toolOf(type), styles_), styleScale());
  if (type == ShapeType::counter) {
    int highest = 0;
    for (const auto& other : *state_.shapes) {
      if (other->type == ShapeType::counter) {
        highest = std::max(highest, std::min(other->number.value_or(0), 999'999));
      }
    }
    shape.number = highest + 1;
  }
  return shape;
}

std::optional<std::string> EditorModel::layerAt(Pt at) const {
  const LayerSpec* const layer = selectedLayer();
  if (layer == nullptr || !layer->path || !layer->visible) return std::nullopt;
  return contains(layer->frame, toCanvas()(at)) ? std::optional(layer->id) : std::nullopt;
}

std::string EditorModel::addSampledColor(const std::string& color) {
  if (std::ranges::find(sampledColors_, color) == sampledColors_.end()) {
    sampledColors_.push_back(color);
    events_.changed();
  }
  return colorText(color, *styleOf(Tool::eyedropper, styles_).colorFormat);
}

void EditorModel::setDraft(std::optional<Shape> draft) {
  draft_ = std::move(draft);
  events_.changed();
}

bool EditorModel::refuse(std::string_view why) {
  events_.report(std::string(why));
  return false;
}

}  // namespace vantorel
