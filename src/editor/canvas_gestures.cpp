// What each gesture of the pointer does to the model.

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/canvas_input.hpp"
#include "editor/shape_layers.hpp"
#include "editor/step_names.hpp"
#include "editor/tool_spec.hpp"

namespace vantorel {
namespace {

Box spanned(Pt a, Pt b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x), std::abs(a.y - b.y)};
}

Pt alongOneAxis(Pt from, Pt to) {
  return std::abs(to.x - from.x) >= std::abs(to.y - from.y) ? Pt{to.x, from.y} : Pt{from.x, to.y};
}

std::optional<double> ratioOf(CropAspect aspect) {
  switch (aspect) {
    case CropAspect::free: return std::nullopt;
    case CropAspect::square: return 1;
    case CropAspect::fourByThree: return 4.0 / 3;
    case CropAspect::sixteenByNine: return 16.0 / 9;
  }
  std::unreachable();
}

/// `frame` made as high as `ratio` asks for, its side at `anchor` (0 top, 1 bottom) staying put.
Box withRatio(Box frame, double ratio, double anchor) {
  const double height = frame.w / ratio;
  frame.y += anchor * (frame.h - height);
  frame.h = height;
  return frame;
}

Box upright(Box box) {
  if (box.w < 0) box = {box.x + box.w, box.y, -box.w, box.h};
  if (box.h < 0) box = {box.x, box.y + box.h, box.w, -box.h};
  return box;
}

/// Where the corner lies in a frame pulled by it.
Pt pulledCorner(const ResizeHandle& corner, const Box& frame) {
  return {frame.x + corner.position.x * frame.w, frame.y + corner.position.y * frame.h};
}

/// The point that a corner pulled in proportion has with the same x (or y) as `at`, on the side
/// of the opposite corner where `at` is.
Pt alongDiagonal(const ResizeHandle& corner, Pt at, bool sameX) {
  const Box& start = corner.startFrame;
  const Pt fixed{start.x + (1 - corner.position.x) * start.w,
                 start.y + (1 - corner.position.y) * start.h};
  const double factor =
      sameX ? std::abs(at.x - fixed.x) / start.w : std::abs(at.y - fixed.y) / start.h;
  return {fixed.x + std::copysign(factor * start.w, at.x - fixed.x),
          fixed.y + std::copysign(factor * start.h, at.y - fixed.y)};
}

/// Pulls the nearest of `edges` within `tolerance` of a line onto it. Gives the shift and the line.
std::optional<std::pair<double, double>> snap(const std::vector<double>& edges,
                                              const std::vector<double>& lines, double tolerance) {
  std::optional<std::pair<double, double>> best;
  for (const double edge : edges) {
    for (const double line : lines) {
      const double shift = line - edge;
      if (std::abs(shift) <= tolerance && (!best || std::abs(shift) < std::abs(best->first))) {
        best = {shift, line};
      }
    }
  }
  return best;
}

}  // namespace

void CanvasInput::startDrawing(ShapeType type, const PointerEvent& event) {
  model_.endText();
  model_.select({});
  Shape shape = model_.newShape(type);
  shape.layerId = model_.layerAt(startCapture_);
  shape.x = shape.x1 = shape.x2 = startCapture_.x;
  shape.y = shape.y1 = shape.y2 = startCapture_.y;
  if (isTwoPoint(type)) {
    shape.x = shape.y = 0;
  } else {
    shape.x1 = shape.y1 = shape.x2 = shape.y2 = 0;
  }
  if (type == ShapeType::pen || type == ShapeType::highlighter) {
    shape.x = shape.y = 0;
    shape.points = {startCapture_};
  }
  startShapes_ = {shape};
  mode_ = GestureMode::draw;
  model_.setDraft(std::move(shape));
  draw(event);
}

void CanvasInput::draw(const PointerEvent& event) {
  Shape shape = *model_.draft();
  Pt at = toCapture(event.at);
  if (shape.type == ShapeType::pen || shape.type == ShapeType::highlighter) {
    if (event.shift) {
      shape.points = {startCapture_};
      if (at != startCapture_) shape.points.push_back(at);
    } else if (shape.points.back() != at) {
      shape.points.push_back(at);
    }
  } else if (isTwoPoint(shape.type)) {
    if (event.shift)
      at = isLine(shape.type) ? snappedTo45(startCapture_, at) : squared(startCapture_, at);
    shape.x2 = at.x;
    shape.y2 = at.y;
  } else {
    shape.x = at.x;
    shape.y = at.y;
  }
  model_.setDraft(std::move(shape));
}

void CanvasInput::finishDrawing(const PointerEvent& event) {
  Shape shape = *model_.draft();
  model_.setDraft(std::nullopt);
  // A click with a tool that needs a drag draws nothing.
  if (isTwoPoint(shape.type) &&
      distance({shape.x1, shape.y1}, {shape.x2, shape.y2}) < captureTolerance(event) / 2) {
    return;
  }
  const std::string_view verb = isTwoPoint(shape.type) || !shape.points.empty() ? "Draw" : "Add";
  model_.edit(stepName(verb, 1, shape.type), [&](EditorSnapshot& state) { state.append(shape); });
  // Strokes, badges and stamps come in rows; handles would be in the way of the next one.
  if (isTwoPoint(shape.type)) model_.select({shape.id});
}

void CanvasInput::move(const PointerEvent& event) {
  if (isSelectingText_) {
    text_.extendTo(toCapture(event.at));
    return;
  }
  if (isMarking_) {
    if (model_.isTyping()) model_.placeCaret(toCapture(event.at), true, 1);
    return;
  }
  // A click that trembles moves nothing.
  const bool trembles = distance(event.at, startCanvas_) < event.tolerance / 2;
  if (mode_ != GestureMode::draw && !hasMoved_ && trembles) return;
  hasMoved_ = true;
  if (cropMode_) {
    moveCrop(event);
    return;
  }
  switch (mode_) {
    case GestureMode::none: return;
    case GestureMode::draw: draw(event); return;
    case GestureMode::move: moveShapes(event); return;
    case GestureMode::resize:
    case GestureMode::endpoint:
    case GestureMode::bow: pullHandle(event); return;
    case GestureMode::marquee: {
      marquee_ = spanned(startCanvas_, event.at);
      const Box inCapture = upright(model_.toCanvas().inverse()(*marquee_));
      std::set<std::string> selection = startSelection_;
      const auto isSeen = shownBy(*model_.state().layers, model_.captureSize());
      for (const auto& shape : *model_.state().shapes) {
        if (touches(*shape, inCapture, model_.measureText()) && isSeen(*shape)) {
          selection.insert(shape->id);
        }
      }
      model_.select(std::move(selection));
      return;
    }
    case GestureMode::layerMove: moveLayer(event); return;
    case GestureMode::layerResize: resizeLayer(event); return;
  }
}

void CanvasInput::moveShapes(const PointerEvent& event) {
  const Pt at = toCapture(event.shift ? alongOneAxis(startCanvas_, event.at) : event.at);
  const AxisMap shift{1, 1, at.x - startCapture_.x, at.y - startCapture_.y};
  if (model_.isTyping()) {
    model_.setDraft(
        withTextBox(*model_.draft(), TextBoxHandle::move, startFrame_, startCapture_, at));
    startCapture_ = at;  // the draft may have been typed into meanwhile
    return;
  }
  model_.edit("Move", [&](EditorSnapshot& state) {
    std::vector<Shape> shapes = startShapes_;
    for (Shape& shape : shapes) shape = mapped(std::move(shape), shift);
    state.replace(std::move(shapes));
  });
}

void CanvasInput::pullHandle(const PointerEvent& event) {
  const Pt pointer = toCapture(event.at);
  // The handle keeps its distance to the pointer that took it beside its middle.
  const Pt at{pointer.x + handle_->at.x - startCapture_.x,
              pointer.y + handle_->at.y - startCapture_.y};
  const Shape& start = startShapes_.front();
  const auto pulled = [&]() -> Shape {
    if (const auto* endpoint = std::get_if<EndpointHandle>(&handle_->kind)) {
      return withEndpoint(start, *endpoint, at, event.shift);
    }
    if (const auto* corner = std::get_if<ResizeHandle>(&handle_->kind)) {
      return resized(start, *corner, at, event.shift ? Proportions::kept : Proportions::free);
    }
    if (const auto* textBox = std::get_if<TextBoxHandle>(&handle_->kind)) {
      return withTextBox(start, *textBox, startFrame_, startCapture_, pointer);
    }
    Shape bent = start;
    bent.bow = bowTowards(start, at, captureTolerance(event) / 2);
    return bent;
  };
  if (model_.isTyping()) {
    Shape draft = pulled();
    draft.text = model_.draft()->text;
    model_.setDraft(std::move(draft));
  } else {
    model_.edit("Resize", [&](EditorSnapshot& state) { state.replace(pulled()); });
  }
}

/// The canvas's and the other layers' edges and middles.
std::vector<double> CanvasInput::guideLines(Guide::Direction direction) const {
  const bool vertical = direction == Guide::Direction::vertical;
  const CanvasSize canvas = model_.canvasSize();
  const double whole = vertical ? canvas.width : canvas.height;
  std::vector<double> lines{0, whole / 2, whole};
  for (const LayerSpec& layer : *model_.state().layers) {
    if (!layer.visible || layer.id == model_.selectedLayer()->id) continue;
    const double from = vertical ? layer.frame.x : layer.frame.y;
    const double length = vertical ? layer.frame.w : layer.frame.h;
    for (const double part : {0.0, 0.5, 1.0}) lines.push_back(from + part * length);
  }
  return lines;
}

void CanvasInput::moveLayer(const PointerEvent& event) {
  const Pt at = event.shift ? alongOneAxis(startCanvas_, event.at) : event.at;
  Box frame = startFrame_;
  frame.x += at.x - startCanvas_.x;
  frame.y += at.y - startCanvas_.y;
  guides_.clear();
  if (!event.command) {
    const auto across = snap({frame.x, frame.x + frame.w / 2, frame.right()},
                             guideLines(Guide::Direction::vertical), event.tolerance);
    if (across) {
      frame.x += across->first;
      guides_.push_back({Guide::Direction::vertical, across->second});
    }
    const auto down = snap({frame.y, frame.y + frame.h / 2, frame.bottom()},
                           guideLines(Guide::Direction::horizontal), event.tolerance);
    if (down) {
      frame.y += down->first;
      guides_.push_back({Guide::Direction::horizontal, down->second});
    }
  }
  model_.setLayerFrame(std::string(model_.selectedLayer()->id), frame);
}

void CanvasInput::resizeLayer(const PointerEvent& event) {
  ResizeHandle corner = std::get<ResizeHandle>(handle_->kind);
  corner.startFrame = startFrame_;
  const Pt grip{startFrame_.x + corner.position.x * startFrame_.w,
                startFrame_.y + corner.position.y * startFrame_.h};
  Pt at{event.at.x + grip.x - startCanvas_.x, event.at.y + grip.y - startCanvas_.y};
  const Proportions proportions = event.shift ? Proportions::kept : Proportions::free;
  guides_.clear();
  if (!event.command) {
    at = pulledCorner(corner, pulledFrame(corner, at, proportions));
    // An edge meets what lies across its way alone.
    std::vector<double> left;
    std::vector<double> top;
    if (corner.position.x != 0.5) left = {at.x};
    if (corner.position.y != 0.5) top = {at.y};
    auto across = snap(left, guideLines(Guide::Direction::vertical), event.tolerance);
    auto down = snap(top, guideLines(Guide::Direction::horizontal), event.tolerance);
    if (event.shift && across && down) {  // only the nearer can be met
      (std::abs(across->first) <= std::abs(down->first) ? down : across).reset();
    }
    if (across) {
      at.x = across->second;
      guides_.push_back({Guide::Direction::vertical, at.x});
    }
    if (down) {
      at.y = down->second;
      guides_.push_back({Guide::Direction::horizontal, at.y});
    }
    if (event.shift && (across || down)) at = alongDiagonal(corner, at, across.has_value());
  }
  const Box frame = pulledFrame(corner, at, proportions);
  model_.setLayerFrame(std::string(model_.selectedLayer()->id), upright(frame));
}

void CanvasInput::moveCrop(const PointerEvent& event) {
  const auto ratio = event.shift ? std::optional(1.0) : ratioOf(model_.cropAspect());
  Box crop = startFrame_;
  switch (*cropMode_) {
    case CropMode::draw:
      crop = spanned(startCanvas_, event.at);
      if (ratio) crop = withRatio(crop, *ratio, event.at.y < startCanvas_.y ? 1 : 0);
      break;
    case CropMode::move:
      crop.x += event.at.x - startCanvas_.x;
      crop.y += event.at.y - startCanvas_.y;
      break;
    case CropMode::resize: {
      const ResizeHandle corner = std::get<ResizeHandle>(handle_->kind);
      crop = upright(pulledFrame(corner, event.at, Proportions::free));
      if (ratio && corner.position.x == 0.5) {
        const double width = crop.h * *ratio;
        crop.x += (crop.w - width) / 2;
        crop.w = width;
      } else if (ratio) {
        crop = withRatio(crop, *ratio, 1 - corner.position.y);
      }
      break;
    }
  }
  model_.setPendingCrop(crop);
}

}  // namespace vantorel
