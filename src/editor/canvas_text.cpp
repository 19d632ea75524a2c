// What the pointer and the keys do to the recognised text of the capture.

#include "editor/canvas_input.hpp"
#include "editor/shape_layers.hpp"
#include "editor/tool_spec.hpp"

namespace vantorel {

void CanvasInput::setRecognised(const std::optional<std::vector<OCRBlock>>& blocks) {
  isSelectingText_ = false;
  text_ = blocks ? TextSelection(*blocks, model_.captureSize()) : TextSelection();
  reading_ = !blocks           ? TextReading::notRead
             : text_.hasText() ? TextReading::present
                               : TextReading::nothingFound;
}

std::string CanvasInput::hint() const { return model_.hint(reading_, !text_.isEmpty()); }

bool CanvasInput::isCaptureShown() const {
  const LayerSpec* const capture = captureLayer(*model_.state().layers);
  return capture == nullptr || capture->visible;
}

void CanvasInput::pressSelectText(const PointerEvent& event) {
  text_.clear();
  if (!isCaptureShown()) return;
  const bool onWord = text_.hasWordAt(startCapture_);
  if (event.clicks >= 2 && !onWord) {
    model_.pickTool(Tool::text);
    model_.beginText(startCapture_);
    return;
  }
  using Unit = TextSelection::Unit;
  text_.begin(startCapture_, event.clicks >= 3   ? Unit::line
                             : event.clicks == 2 ? Unit::word
                                                 : Unit::letter);
  isSelectingText_ = true;
}

/// Puts a shape over each line of the selected text.
void CanvasInput::markSelectedText(ShapeType type, const std::vector<Box>& boxes,
                                   std::string_view name) {
  model_.edit(name, [&](EditorSnapshot& state) {
    for (const Box& box : boxes) {
      Shape shape = model_.newShape(type);
      shape.x1 = box.x;
      shape.y1 = box.y;
      shape.x2 = box.right();
      shape.y2 = box.bottom();
      state.append(std::move(shape));
    }
  });
  text_.clear();
}

bool CanvasInput::textKey(const KeyEvent& event) {
  if (event.key != EditorKey::character) return false;
  if (event.command) {
    if (event.text != "c") return false;
    // What a redaction covers is handed to nobody.
    const EditorDocument document = model_.document();
    services_.copyText(
        text_.text(services_.joinsCopiedLines(),
                   redactedPixels(document.shapes, document.layers, model_.captureSize())));
    return true;
  }
  if (event.text == "r" || event.text == "R") {
    markSelectedText(ShapeType::redact, text_.coveringBoxes(), "Redact Text");
  } else if (event.text == "h" || event.text == "H") {
    markSelectedText(ShapeType::highlightRect, text_.boxes(), "Highlight Text");
  } else {
    return false;
  }
  return true;
}

}  // namespace vantorel
