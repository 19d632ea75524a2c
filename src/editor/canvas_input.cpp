#include "editor/canvas_input.hpp"

#include <cmath>
#include <utility>

#include "editor/tool_spec.hpp"

namespace vantorel {

CanvasInput::CanvasInput(EditorModel& model, CanvasServices services)
    : model_(model), services_(std::move(services)) {}

void CanvasInput::handle(const PointerEvent& event) {
  endIfInterrupted();
  switch (event.phase) {
    case PointerPhase::press:
      press(event);
      interruptions_ = model_.interruptions();
      return;
    case PointerPhase::move: move(event); return;
    case PointerPhase::release: release(event); return;
  }
}

/// Whether what the gesture works on has been taken from below it.
bool CanvasInput::isInterrupted() const {
  if (!isInGesture()) return false;
  if (model_.interruptions() != interruptions_) return true;
  switch (mode_) {
    case GestureMode::draw: return !model_.draft();
    case GestureMode::layerMove:
    case GestureMode::layerResize: return model_.selectedLayer() == nullptr;
    default: return false;
  }
}

void CanvasInput::endIfInterrupted() {
  if (!isInterrupted()) return;
  if (mode_ == GestureMode::draw && !model_.isTyping()) model_.setDraft(std::nullopt);
  // What it has changed so far stays, as one step.
  if (model_.interruptions() == interruptions_) model_.endStep();
  end();
}

double CanvasInput::captureTolerance(const PointerEvent& event) const {
  const AxisMap map = model_.toCanvas();
  return event.tolerance / std::sqrt(std::abs(map.sx * map.sy));
}

void CanvasInput::press(const PointerEvent& event) {
  // A press without the release of the one before: the window lost it.
  if (isInGesture()) cancel();
  isSelectingText_ = false;
  if (model_.tool() != Tool::selectText) text_.clear();
  model_.endStep();
  startCanvas_ = event.at;
  startCapture_ = toCapture(event.at);
  hasMoved_ = false;
  switch (model_.tool()) {
    case Tool::crop: pressCrop(event); return;
    case Tool::eyedropper:
      if (const auto color = services_.colorAt(event.at)) {
        services_.copyText(model_.addSampledColor(*color));
      }
      return;
    case Tool::selectText: pressSelectText(event); return;
    case Tool::text: pressText(event); return;
    case Tool::select: pressSelect(event); return;
    default: break;
  }
  if (!pressHandle(event)) startDrawing(*shapeTypeOf(model_.tool()), event);
}

/// Takes the text box being typed in by a handle, or anywhere else to move it.
bool CanvasInput::pressTextBox(const PointerEvent& event) {
  if (pressHandle(event)) return true;
  const Box box = model_.frameOfShape(*model_.draft());
  if (!contains(grown(box, captureTolerance(event)), startCapture_)) return false;
  handle_ = ShapeHandle{TextBoxHandle::move, startCapture_};
  startShapes_ = {*model_.draft()};
  startFrame_ = box;
  mode_ = GestureMode::move;
  return true;
}

void CanvasInput::pressText(const PointerEvent& event) {
  // The first click of a double-click has begun a new text.
  if (event.clicks >= 2 && model_.isTyping() && model_.draft()->text.empty()) model_.cancelText();
  if (model_.isTyping()) {
    if (!pressTextBox(event)) model_.endText();
    return;
  }
  if (pressHandle(event)) return;
  const Shape* const shape = model_.shapeAt(startCapture_, captureTolerance(event));
  if (event.clicks >= 2 && shape != nullptr && model_.editText(std::string(shape->id))) return;
  model_.beginText(startCapture_);
}

void CanvasInput::pressSelect(const PointerEvent& event) {
  if (model_.isTyping()) {
    if (pressTextBox(event)) return;
    model_.endText();
  }
  if (pressHandle(event)) return;
  if (const Shape* const shape = model_.shapeAt(startCapture_, captureTolerance(event))) {
    const std::string id = shape->id;
    if (event.clicks >= 2 && model_.editText(id)) return;
    std::set<std::string> selection = model_.selection();
    if (event.shift) {
      if (selection.erase(id) == 0) selection.insert(id);
      model_.select(std::move(selection));
      if (!model_.selection().contains(id)) return;
    } else if (!selection.contains(id)) {
      model_.select({id});
    }
    startShapes_ = model_.selectedShapes();
    mode_ = GestureMode::move;
    model_.beginStep("Move");
    return;
  }
  if (event.clicks >= 2 && isCaptureShown() && text_.hasWordAt(startCapture_)) {
    model_.pickTool(Tool::selectText);
    pressSelectText(event);
    return;
  }
  if (pressLayer(event)) return;
  model_.selectLayer(std::nullopt);
  startSelection_ = event.shift ? model_.selection() : std::set<std::string>{};
  model_.select(startSelection_);
  marquee_ = Box{startCanvas_.x, startCanvas_.y, 0, 0};
  mode_ = GestureMode::marquee;
}

/// The topmost image under the pointer; the capture itself only when it is the selected layer
/// already, as it lies under everything.
bool CanvasInput::pressLayer(const PointerEvent& event) {
  const LayerSpec* const selected = model_.selectedLayer();
  const std::string selectedID = selected == nullptr ? "" : selected->id;
  const auto& layers = *model_.state().layers;
  for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
    if (!layer->visible || !contains(layer->frame, event.at)) continue;
    if (!layer->path && layer->id != selectedID) continue;
    startFrame_ = layer->frame;
    const bool locked = layer->locked;
    model_.selectLayer(std::string(layer->id));
    if (!locked) {
      mode_ = GestureMode::layerMove;
      model_.beginStep("Move Layer");
    }
    return true;
  }
  return false;
}

std::vector<ShapeHandle> CanvasInput::handles() const {
  std::vector<ShapeHandle> handles;
  if (model_.tool() == Tool::crop) {
    if (model_.pendingCrop()) return cornerHandles(*model_.pendingCrop());
    return {};
  }
  if (model_.isTyping()) {
    handles = textBoxHandles(*model_.draft(), model_.measureText());
  } else if (model_.selection().size() == 1 && !model_.draft()) {
    const Shape* const shape = model_.state().find(*model_.selection().begin());
    handles = handlesOf(*shape, model_.measureText());
  } else if (const LayerSpec* const layer = model_.selectedLayer();
             layer != nullptr && model_.tool() == Tool::select) {
    if (layer->visible && !layer->locked) return cornerHandles(layer->frame);
    return {};
  }
  const AxisMap map = model_.toCanvas();
  for (ShapeHandle& handle : handles) handle.at = map(handle.at);
  return handles;
}

bool CanvasInput::pressHandle(const PointerEvent& event) {
  for (ShapeHandle& handle : handles()) {
    if (distance(handle.at, event.at) > event.tolerance) continue;
    handle_ = handle;
    handle_->at = toCapture(handle.at);
    if (model_.isTyping()) {
      startShapes_ = {*model_.draft()};
      startFrame_ = model_.frameOfShape(*model_.draft());
      mode_ = GestureMode::resize;
      return true;
    }
    if (model_.selection().empty()) {
      startFrame_ = model_.selectedLayer()->frame;
      mode_ = GestureMode::layerResize;
      model_.beginStep("Resize Layer");
      return true;
    }
    startShapes_ = model_.selectedShapes();
    startFrame_ = model_.frameOfShape(startShapes_.front());
    if (std::holds_alternative<EndpointHandle>(handle.kind)) {
      mode_ = GestureMode::endpoint;
      model_.beginStep("Move End");
    } else if (std::holds_alternative<BowHandle>(handle.kind)) {
      mode_ = GestureMode::bow;
      model_.beginStep("Bend Arrow");
    } else {
      mode_ = GestureMode::resize;
      model_.beginStep("Resize");
    }
    return true;
  }
  return false;
}

void CanvasInput::pressCrop(const PointerEvent& event) {
  startFrame_ = model_.pendingCrop().value_or(Box{});
  for (const ShapeHandle& handle : handles()) {
    if (distance(handle.at, event.at) > event.tolerance) continue;
    handle_ = handle;
    cropMode_ = CropMode::resize;
    return;
  }
  const bool inside = model_.pendingCrop() && contains(startFrame_, event.at);
  cropMode_ = inside ? CropMode::move : CropMode::draw;
}

void CanvasInput::release(const PointerEvent& event) {
  isSelectingText_ = false;
  if (cropMode_) {
    // A frame drawn and closed again is none.
    if (*cropMode_ == CropMode::draw && hasMoved_ && model_.pendingCrop() &&
        (model_.pendingCrop()->w < 1 || model_.pendingCrop()->h < 1)) {
      cancel();
    }
  } else if (mode_ == GestureMode::draw) {
    draw(event);
    finishDrawing(event);
  } else if (mode_ != GestureMode::none) {
    move(event);
    model_.endStep();
  }
  end();
}

void CanvasInput::end() {
  mode_ = GestureMode::none;
  cropMode_.reset();
  handle_.reset();
  startShapes_.clear();
  marquee_.reset();
  guides_.clear();
}

void CanvasInput::cancel() {
  endIfInterrupted();
  if (cropMode_) {
    const bool hadFrame = startFrame_ != Box{};
    model_.setPendingCrop(hadFrame ? std::optional(startFrame_) : std::nullopt);
  } else if (model_.isTyping()) {
    if (!startShapes_.empty()) {
      Shape draft = startShapes_.front();
      draft.text = model_.draft()->text;
      model_.setDraft(std::move(draft));
    }
  } else if (mode_ == GestureMode::draw) {
    model_.setDraft(std::nullopt);
  } else if (mode_ == GestureMode::marquee) {
    model_.select(startSelection_);
  } else if (mode_ != GestureMode::none) {
    model_.cancelStep();
  }
  end();
}

bool CanvasInput::handle(const KeyEvent& event) {
  endIfInterrupted();
  if (event.key == EditorKey::escape) return escape();
  if (isInGesture()) return false;
  if (model_.tool() == Tool::selectText && !text_.isEmpty() && textKey(event)) return true;
  if (event.key == EditorKey::character && event.command) return commandKey(event);
  if (model_.isTyping()) {
    if (event.key != EditorKey::enter || !event.command) return false;
    model_.endText();
    return true;
  }
  const double step = event.shift ? 10 : 1;
  switch (event.key) {
    case EditorKey::backspace: return model_.deleteSelection();
    case EditorKey::enter: return model_.applyCrop();
    case EditorKey::left: model_.nudge(-step, 0); return true;
    case EditorKey::right: model_.nudge(step, 0); return true;
    case EditorKey::up: model_.nudge(0, -step); return true;
    case EditorKey::down: model_.nudge(0, step); return true;
    case EditorKey::escape: return false;
    case EditorKey::character: break;
  }
  const auto tool = toolForKey(event.text);
  if (tool) model_.pickTool(*tool);
  return tool.has_value();
}

bool CanvasInput::commandKey(const KeyEvent& event) {
  if (event.text == "z" || event.text == "Z") {
    const bool done = event.shift ? model_.redo() : model_.undo();
    return done || model_.isTyping();
  }
  if (model_.isTyping()) return false;
  if (event.text == "a") {
    model_.selectAll();
    return true;
  }
  if (event.text == "c" || event.text == "x") {
    const std::string shapes = model_.copiedShapes();
    if (shapes.empty()) return false;
    services_.copyShapes(shapes);
    return event.text == "c" || model_.deleteSelection();
  }
  if (event.text == "v") return model_.pasteShapes(services_.copiedShapes());
  return false;
}

bool CanvasInput::escape() {
  if (isInGesture()) {
    cancel();
  } else if (model_.tool() == Tool::selectText && !text_.isEmpty()) {
    text_.clear();
  } else if (model_.isTyping()) {
    model_.endText();
  } else if (model_.pendingCrop()) {
    model_.setPendingCrop(std::nullopt);
  } else if (!model_.selection().empty()) {
    model_.select({});
  } else if (model_.tool() != Tool::select) {
    model_.pickTool(Tool::select);
  } else if (model_.selectedLayer() != nullptr) {
    model_.selectLayer(std::nullopt);
  } else {
    return false;
  }
  return true;
}

}  // namespace vantorel
