// The part of the editor model that deals with a text while it is typed.

#include <utility>

#include "editor/editor_model.hpp"

namespace vantorel {

/// The geometry of a text, laid out once as long as it stays the same.
const TextGeometry* EditorModel::geometryOf(const Shape& text) const {
  if (!layOut_) return nullptr;
  if (!geometry_ || laidOut_ != text) {
    geometry_ = layOut_(text);
    laidOut_ = text;
  }
  return geometry_.get();
}

/// The draft as it is shown: with what is composed in it.
Shape EditorModel::shownDraft() const {
  Shape shown = *draft_;
  if (typing_) shown.text = typing_->editing.shownText();
  return shown;
}

void EditorModel::beginTyping(Shape text, std::optional<std::string> shapeID) {
  typing_ = Typing{std::move(shapeID), TextEditing(text.text)};
  draft_ = std::move(text);
  selection_.clear();
  events_.changed();
}

/// What is typed has changed.
void EditorModel::typed() {
  draft_->text = typing_->editing.text();
  events_.changed();
}

void EditorModel::beginText(Pt at) {
  endText();
  ++interruptions_;
  Shape text = newShape(ShapeType::text);
  text.x = at.x;
  text.y = at.y;
  text.layerId = layerAt(at);
  beginTyping(std::move(text), std::nullopt);
}

bool EditorModel::editText(const std::string& shapeID) {
  endText();
  ++interruptions_;
  const Shape* const shape = state_.find(shapeID);
  if (shape == nullptr || shape->type != ShapeType::text) return false;
  beginTyping(*shape, shape->id);
  return true;
}

void EditorModel::setText(std::string text) {
  if (!typing_) return;
  typing_->editing.replace(std::move(text));
  typed();
}

void EditorModel::insertText(std::string_view text) {
  if (!typing_) return;
  typing_->editing.insert(text);
  typed();
}

void EditorModel::setComposedText(std::string_view text, std::size_t caret) {
  if (!typing_) return;
  typing_->editing.compose(text, caret);
  typed();
}

void EditorModel::deleteText(CaretStep step) {
  if (!typing_) return;
  if (const TextGeometry* const geometry = geometryOf(*draft_)) {
    typing_->editing.erase(*geometry, step);
    typed();
  }
}

void EditorModel::moveCaret(CaretStep step, bool extends) {
  if (!typing_) return;
  if (const TextGeometry* const geometry = geometryOf(*draft_)) {
    typing_->editing.move(*geometry, step, extends);
    events_.changed();
  }
}

void EditorModel::placeCaret(Pt at, bool extends, int clicks) {
  if (!typing_) return;
  if (const TextGeometry* const geometry = geometryOf(*draft_)) {
    typing_->editing.place(*geometry, at, extends, clicks);
    events_.changed();
  }
}

void EditorModel::selectAllText() {
  if (!typing_) return;
  typing_->editing.selectAll();
  events_.changed();
}

void EditorModel::selectTyped(std::size_t anchor, std::size_t caret) {
  if (!typing_) return;
  typing_->editing.select(anchor, caret);
  events_.changed();
}

const TextGeometry* EditorModel::typedGeometry() const {
  return typing_ ? geometryOf(*draft_) : nullptr;
}

std::string EditorModel::selectedText() const {
  return typing_ ? typing_->editing.selectedText() : std::string();
}

std::optional<TextCaret> EditorModel::textCaret() const {
  if (!typing_) return std::nullopt;
  const TextEditing& editing = typing_->editing;
  const TextGeometry* const geometry = geometryOf(shownDraft());
  if (geometry == nullptr) return std::nullopt;
  return TextCaret{geometry->caret(editing.shownCaret()), geometry->boxes(editing.selection()),
                   geometry->boxes(editing.composed()), editing.caret(), editing.anchor()};
}

void EditorModel::endText() {
  if (!typing_) return;
  ++interruptions_;
  const Typing typing = *std::exchange(typing_, std::nullopt);
  const Shape shape = *std::exchange(draft_, std::nullopt);
  geometry_.reset();
  const bool isEmpty = shape.text.find_first_not_of(" \t\n") == std::string::npos;
  // The shape may have gone meanwhile, with its layer: what was typed stays.
  const bool isThere = typing.shapeID && state_.find(*typing.shapeID) != nullptr;
  if (isThere && isEmpty) {
    edit("Delete Text", [&](EditorSnapshot& state) {
      EditorSnapshot::Shapes kept = *state.shapes;
      std::erase_if(kept, [&](const auto& other) { return other->id == *typing.shapeID; });
      state.setShapes(std::move(kept));
    });
  } else if (isThere) {
    edit("Edit Text", [&](EditorSnapshot& state) { state.replace(shape); });
  } else if (!isEmpty) {
    edit("Add Text", [&](EditorSnapshot& state) { state.append(shape); });
  }
  if (!isEmpty) selection_ = {shape.id};
  events_.changed();
}

void EditorModel::cancelText() {
  if (!typing_) return;
  ++interruptions_;
  typing_.reset();
  draft_.reset();
  geometry_.reset();
  events_.changed();
}

}  // namespace vantorel
