#include "editor/canvas_input.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/step_names.hpp"
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
  isMarking_ = false;
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

/// Whether the pointer is on the frame around the text being typed, beside its letters.
bool CanvasInput::isOnTextFrame(const PointerEvent& event) const {
  const Box box = model_.frameOfShape(*model_.draft());
  const Pt at = toCapture(event.at);
  return contains(grown(box, 2 * captureTolerance(event)), at) && !contains(box, at);
}

/// Takes the text box being typed in by a handle, or by its frame, which moves it; inside, puts the
/// caret.
bool CanvasInput::pressTextBox(const PointerEvent& event) {
  if (pressHandle(event)) return true;
  const Box box = model_.frameOfShape(*model_.draft());
  const bool isInside = contains(box, startCapture_);
  if (isInside && !event.command) {
    model_.placeCaret(startCapture_, event.shift, event.clicks);
    isMarking_ = event.clicks < 2;
    return true;
  }
  if (!isInside && !isOnTextFrame(event)) return false;
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
    model_.beginStep(model_.selectionStep("Move"));
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
const LayerSpec* CanvasInput::layerUnder(Pt canvas) const {
  const LayerSpec* const selected = model_.selectedLayer();
  const auto& layers = *model_.state().layers;
  for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
    if (!layer->visible || !contains(layer->frame, canvas)) continue;
    if (layer->path || &*layer == selected) return &*layer;
  }
  return nullptr;
}

bool CanvasInput::pressLayer(const PointerEvent& event) {
  const LayerSpec* const layer = layerUnder(event.at);
  if (layer == nullptr) return false;
  startFrame_ = layer->frame;
  const bool locked = layer->locked;
  model_.selectLayer(std::string(layer->id));
  if (!locked) {
    mode_ = GestureMode::layerMove;
    model_.beginStep("Move Layer");
  }
  return true;
}

std::vector<ShapeHandle> CanvasInput::handles() const {
  std::vector<ShapeHandle> handles;
  if (model_.tool() == Tool::crop) {
    if (model_.pendingCrop()) return frameHandles(*model_.pendingCrop());
    return {};
  }
  if (model_.isTyping()) {
    handles = textBoxHandles(model_.shownDraft(), model_.measureText());
  } else if (model_.selection().size() == 1 && !model_.draft()) {
    const Shape* const shape = model_.state().find(*model_.selection().begin());
    handles = handlesOf(*shape, model_.measureText());
  } else if (const LayerSpec* const layer = model_.selectedLayer();
             layer != nullptr && model_.tool() == Tool::select) {
    if (layer->visible && !layer->locked) return frameHandles(layer->frame);
    return {};
  }
  const AxisMap map = model_.toCanvas();
  for (ShapeHandle& handle : handles) handle.at = map(handle.at);
  return handles;
}

/// The handle that a press would take: the nearest within twice the tolerance. In a small frame
/// they reach less far inwards, so that its inside can be taken as well.
std::optional<ShapeHandle> CanvasInput::handleAt(const PointerEvent& event) const {
  const std::vector<ShapeHandle> all = handles();
  std::vector<Pt> places;
  for (const ShapeHandle& handle : all) places.push_back(handle.at);
  const Box frame = boundsOf(places);
  double reach = 2 * event.tolerance;
  if (contains(frame, event.at))
    reach = std::clamp(std::min(frame.w, frame.h) / 4, reach / 3, reach);
  std::optional<ShapeHandle> nearest;
  for (const ShapeHandle& handle : all) {
    const double away = distance(handle.at, event.at);
    if (away > reach || (nearest && away >= distance(nearest->at, event.at))) continue;
    nearest = handle;
  }
  return nearest;
}

bool CanvasInput::pressHandle(const PointerEvent& event) {
  const std::optional<ShapeHandle> handle = handleAt(event);
  if (!handle) return false;
  handle_ = handle;
  handle_->at = toCapture(handle->at);
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
  if (std::holds_alternative<EndpointHandle>(handle->kind)) {
    mode_ = GestureMode::endpoint;
  } else {
    mode_ =
        std::holds_alternative<BowHandle>(handle->kind) ? GestureMode::bow : GestureMode::resize;
  }
  model_.beginStep(model_.selectionStep(mode_ == GestureMode::bow ? "Bend" : "Resize"));
  return true;
}

void CanvasInput::pressCrop(const PointerEvent& event) {
  startFrame_ = model_.pendingCrop().value_or(Box{});
  if (const std::optional<ShapeHandle> handle = handleAt(event)) {
    handle_ = handle;
    cropMode_ = CropMode::resize;
    return;
  }
  const bool inside = model_.pendingCrop() && contains(startFrame_, event.at);
  cropMode_ = inside ? CropMode::move : CropMode::draw;
}

void CanvasInput::release(const PointerEvent& event) {
  isSelectingText_ = false;
  isMarking_ = false;
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
  if (model_.isTyping()) return typingKey(event);
  if (event.key == EditorKey::character && event.command) return commandKey(event);
  switch (event.key) {
    case EditorKey::backspace:
    case EditorKey::del: return model_.deleteSelection();
    case EditorKey::enter:
      if (model_.tool() != Tool::crop) return placeShape(event);
      model_.pickTool(Tool::select);  // which applies it, and what is left is seen
      return true;
    case EditorKey::left:
    case EditorKey::right:
    case EditorKey::up:
    case EditorKey::down: return arrowKey(event);
    case EditorKey::tab:
      if (event.command || event.alt || model_.tool() == Tool::crop ||
          model_.state().shapes->empty()) {
        return false;
      }
      model_.selectNext(event.shift ? -1 : 1);
      return true;
    case EditorKey::escape:
    case EditorKey::home:
    case EditorKey::end: return false;
    case EditorKey::character: break;
  }
  if (event.alt) return false;
  if (styleKey(event.text)) return true;
  const auto tool = toolForKey(event.text);
  if (tool) model_.pickTool(*tool);
  return tool.has_value();
}

/// Moves the selection, with Alt changes its size.
bool CanvasInput::arrowKey(const KeyEvent& event) {
  if (model_.selection().empty() && model_.selectedLayer() == nullptr) return false;
  const double step = event.shift ? 10 : 1;
  Pt by;
  if (event.key == EditorKey::left) by.x = -step;
  if (event.key == EditorKey::right) by.x = step;
  if (event.key == EditorKey::up) by.y = -step;
  if (event.key == EditorKey::down) by.y = step;
  if (event.alt) {
    model_.resizeSelection(by.x, by.y);
  } else {
    model_.nudge(by.x, by.y);
  }
  return true;
}

/// Puts a shape of the tool in the middle of what is seen, for hands without a pointer.
bool CanvasInput::placeShape(const KeyEvent& event) {
  const auto type = shapeTypeOf(model_.tool());
  if (!type) return false;
  const PixelRect part = model_.shownPart();
  Box seen{double(part.x), double(part.y), double(part.width), double(part.height)};
  if (event.seen) {
    const double left = std::max(seen.x, event.seen->x);
    const double top = std::max(seen.y, event.seen->y);
    const Box both{left, top, std::min(seen.right(), event.seen->right()) - left,
                   std::min(seen.bottom(), event.seen->bottom()) - top};
    if (both.w > 0 && both.h > 0) seen = both;
  }
  const Pt middle = toCapture({seen.x + seen.w / 2, seen.y + seen.h / 2});
  if (*type == ShapeType::text) {
    model_.beginText(middle);
    return true;
  }
  const AxisMap toCaptured = model_.toCanvas().inverse();
  const double w = std::abs(toCaptured.sx) * seen.w / 5;
  const double h = isLine(*type) ? 0 : std::abs(toCaptured.sy) * seen.h / 5;
  Shape shape = model_.newShape(*type);
  shape.layerId = model_.layerAt(middle);
  const Pt from{std::round(middle.x - w / 2), std::round(middle.y - h / 2)};
  const Pt to{std::round(middle.x + w / 2), std::round(middle.y + h / 2)};
  if (isTwoPoint(*type)) {
    shape.x1 = from.x;
    shape.y1 = from.y;
    shape.x2 = to.x;
    shape.y2 = to.y;
  } else if (*type == ShapeType::pen || *type == ShapeType::highlighter) {
    shape.points = {{from.x, middle.y}, {to.x, middle.y}};
  } else {
    shape.x = middle.x;
    shape.y = middle.y;
  }
  const std::string id = shape.id;
  model_.edit(stepName("Add", 1, *type), [&](EditorSnapshot& state) { state.append(shape); });
  model_.select({id});
  return true;
}

/// Width and ink.
bool CanvasInput::styleKey(const std::string& key) {
  if (key == "[" || key == "]") {
    model_.stepWidth(key == "[" ? -1 : 1);
    return true;
  }
  if (key.size() != 1 || key[0] < '1' || key[0] > '9') return false;
  const auto swatch = static_cast<std::size_t>(key[0] - '1');
  model_.changeStyle([swatch](ToolStyle& style) { style.color = inkSwatches[swatch]; });
  return true;
}

/// What a text field would do.
bool CanvasInput::typingKey(const KeyEvent& event) {
  const auto move = [&](CaretStep step) {
    model_.moveCaret(step, event.shift);
    return true;
  };
  const auto erase = [&](CaretStep step) {
    model_.deleteText(step);
    return true;
  };
  using enum CaretStep;
  switch (event.key) {
    case EditorKey::backspace: return erase(event.command ? wordBefore : letterBefore);
    case EditorKey::del: return erase(event.command ? wordAfter : letterAfter);
    case EditorKey::left: return move(event.command ? wordLeft : letterLeft);
    case EditorKey::right: return move(event.command ? wordRight : letterRight);
    case EditorKey::up: return move(lineUp);
    case EditorKey::down: return move(lineDown);
    case EditorKey::home: return move(event.command ? textStart : lineStart);
    case EditorKey::end: return move(event.command ? textEnd : lineEnd);
    case EditorKey::enter:
      if (event.command) {
        model_.endText();
      } else {
        model_.insertText("\n");
      }
      return true;
    case EditorKey::tab:
    case EditorKey::escape: return false;
    case EditorKey::character: break;
  }
  if (event.command) return typingCommand(event);
  if (event.alt) return false;
  model_.insertText(event.text);
  return true;
}

bool CanvasInput::typingCommand(const KeyEvent& event) {
  if (event.text == "z" || event.text == "Z") {
    if (event.shift) {
      model_.redo();
    } else {
      model_.undo();
    }
    return true;
  }
  if (event.text == "a") {
    model_.selectAllText();
    return true;
  }
  if (event.text != "c" && event.text != "x") return false;
  const std::string marked = model_.selectedText();
  if (marked.empty()) return true;  // not the picture
  services_.copyText(marked);
  if (event.text == "x") model_.deleteText(CaretStep::letterBefore);
  return true;
}

bool CanvasInput::commandKey(const KeyEvent& event) {
  if (event.text == "z" || event.text == "Z") {
    return event.shift ? model_.redo() : model_.undo();
  }
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

std::optional<std::string> CanvasInput::shapeUnder(Pt canvas, double tolerance) const {
  if (model_.tool() != Tool::select && model_.tool() != Tool::text) return std::nullopt;
  PointerEvent event;
  event.tolerance = tolerance;
  const Shape* const shape = model_.shapeAt(toCapture(canvas), captureTolerance(event));
  if (shape == nullptr) return std::nullopt;
  if (model_.tool() == Tool::text && shape->type != ShapeType::text) return std::nullopt;
  return shape->id;
}

namespace {

CanvasCursor cursorOf(const ShapeHandle& handle) {
  if (std::holds_alternative<EndpointHandle>(handle.kind) ||
      std::holds_alternative<BowHandle>(handle.kind)) {
    return CanvasCursor::cross;
  }
  if (const auto* textBox = std::get_if<TextBoxHandle>(&handle.kind)) {
    switch (*textBox) {
      case TextBoxHandle::width:
      case TextBoxHandle::widthLeft: return CanvasCursor::resizeHorizontal;
      case TextBoxHandle::scale: return CanvasCursor::resizeFalling;
      case TextBoxHandle::move: return CanvasCursor::move;
    }
  }
  const Pt position = std::get<ResizeHandle>(handle.kind).position;
  if (position.y == 0.5) return CanvasCursor::resizeHorizontal;
  if (position.x == 0.5) return CanvasCursor::resizeVertical;
  return position.x == position.y ? CanvasCursor::resizeFalling : CanvasCursor::resizeRising;
}

}  // namespace

CanvasCursor CanvasInput::cursorAt(const PointerEvent& event) const {
  if (isMarking_) return CanvasCursor::text;
  if (handle_) return cursorOf(*handle_);
  switch (mode_) {
    case GestureMode::none: break;
    case GestureMode::draw: return CanvasCursor::cross;
    case GestureMode::marquee: return CanvasCursor::arrow;
    default: return CanvasCursor::move;
  }
  switch (model_.tool()) {
    case Tool::eyedropper: return CanvasCursor::pick;
    case Tool::selectText:
      return text_.hasWordAt(toCapture(event.at)) ? CanvasCursor::text : CanvasCursor::arrow;
    default: break;
  }
  if (const auto handle = handleAt(event)) return cursorOf(*handle);
  if (model_.isTyping()) {
    const Box box = model_.frameOfShape(*model_.draft());
    if (contains(box, toCapture(event.at))) {
      return event.command ? CanvasCursor::move : CanvasCursor::text;
    }
    if (isOnTextFrame(event)) return CanvasCursor::move;
  }
  switch (model_.tool()) {
    case Tool::crop: {
      const auto& crop = model_.pendingCrop();
      return crop && contains(*crop, event.at) ? CanvasCursor::move : CanvasCursor::cross;
    }
    case Tool::text: return CanvasCursor::text;
    case Tool::select: {
      if (shapeUnder(event.at, event.tolerance)) return CanvasCursor::move;
      const LayerSpec* const layer = layerUnder(event.at);
      return layer != nullptr && !layer->locked ? CanvasCursor::move : CanvasCursor::arrow;
    }
    default: return CanvasCursor::cross;
  }
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
