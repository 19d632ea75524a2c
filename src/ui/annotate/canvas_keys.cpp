// What keys and input methods do on the canvas.

#include <QApplication>
#include <QFocusEvent>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QStyleHints>
#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/tool_spec.hpp"
#include "ui/annotate/annotate_canvas.hpp"

namespace vantorel {
namespace {

constexpr double revealMargin = 16;  // px between the view's edge and what comes into it

/// Where `offset` bytes of UTF-8 are in the toolkit's letters.
int lettersBefore(const std::string& text, std::size_t offset) {
  return static_cast<int>(
      QString::fromUtf8(text.data(), static_cast<qsizetype>(std::min(offset, text.size()))).size());
}

bool isPrintable(const QString& text) {
  return !text.isEmpty() && (text.at(0).isPrint() || text.at(0).isSurrogate());
}

/// Text that is not meant as a command.
bool isTyped(const QKeyEvent& event) {
  const Qt::KeyboardModifiers held = event.modifiers() & (Qt::ControlModifier | Qt::AltModifier);
  // AltGr is both on some keyboards.
  return isPrintable(event.text()) &&
         (held == Qt::NoModifier || held == (Qt::ControlModifier | Qt::AltModifier));
}

std::optional<EditorKey> editorKey(int key) {
  switch (key) {
    case Qt::Key_Left: return EditorKey::left;
    case Qt::Key_Right: return EditorKey::right;
    case Qt::Key_Up: return EditorKey::up;
    case Qt::Key_Down: return EditorKey::down;
    case Qt::Key_Home: return EditorKey::home;
    case Qt::Key_End: return EditorKey::end;
    case Qt::Key_Backspace: return EditorKey::backspace;
    case Qt::Key_Delete: return EditorKey::del;
    case Qt::Key_Return:
    case Qt::Key_Enter: return EditorKey::enter;
    case Qt::Key_Escape: return EditorKey::escape;
    default: return std::nullopt;
  }
}

/// What the key is to the editor; nothing when it is none of its keys.
std::optional<KeyEvent> keyEvent(const QKeyEvent& event, bool isTyping) {
  KeyEvent key{.key = EditorKey::character,
               .text = {},
               .shift = event.modifiers().testFlag(Qt::ShiftModifier),
               .command = event.modifiers().testFlag(Qt::ControlModifier),
               .alt = event.modifiers().testFlag(Qt::AltModifier)};
  if (event.modifiers().testFlag(Qt::MetaModifier)) return std::nullopt;
  if (const auto named = editorKey(event.key())) {
    key.key = *named;
    return key;
  }
  if (!isTyped(event)) return std::nullopt;
  // AltGr makes letters: what comes is no command.
  key.command = key.alt = false;
  key.text = (isTyping ? event.text() : event.text().toLower()).toStdString();
  return key;
}

}  // namespace

bool AnnotateCanvas::isTyping() const { return isReady() && model_->editor().isTyping(); }

void AnnotateCanvas::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space && !event->modifiers() && !isTyping()) {
    if (!event->isAutoRepeat() && !isSpaceHeld_) {
      isSpaceHeld_ = true;
      hovered_.reset();
      updateOverlay();
      updateCursor();
    }
    return;
  }
  if (!take(*event)) QWidget::keyPressEvent(event);
}

void AnnotateCanvas::keyReleaseEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Space || event->isAutoRepeat() || !isSpaceHeld_) {
    return QWidget::keyReleaseEvent(event);
  }
  isSpaceHeld_ = false;
  updateCursor();
}

bool AnnotateCanvas::take(const QKeyEvent& event) {
  if (!isReady()) return false;
  if (isTyping() && isComposing_) return true;  // the input method's
  auto key = keyEvent(event, isTyping());
  if (!key) return false;
  const Pt corner = view_.toCanvas({0, 0});
  const Pt opposite = view_.toCanvas({width() * ratio_, height() * ratio_});
  key->seen = Box{corner.x, corner.y, opposite.x - corner.x, opposite.y - corner.y};
  modifiers_ = event.modifiers();
  const bool mayPick =
      key->key == EditorKey::character && !key->command && !key->alt && !isTyping();
  const auto picked = mayPick ? toolForKey(key->text) : std::nullopt;
  if (!handleKey(*key)) return false;
  if (isTyping() != wasTyping_) typingChanged();
  if (isTyping()) restartCaret();
  revealWork();
  updateOverlay();
  updateCursor();
  if (onHint) onHint();
  if (picked && *picked == model_->editor().tool() && !isTyping() && onToolKey) onToolKey(*picked);
  return true;
}

/// Brings what the keyboard works on into view: the caret, or the selected shape.
void AnnotateCanvas::revealWork() {
  const EditorModel& editor = model_->editor();
  if (isTyping()) return reveal(caretArea());
  if (editor.selection().size() != 1) return;
  if (const Shape* const shape = editor.state().find(*editor.selection().begin())) {
    reveal(areaOf(editor.toCanvas()(editor.frameOfShape(*shape))));
  }
}

/// Of what is larger than the view, any part will do.
void AnnotateCanvas::reveal(QRectF area) {
  const QRectF view =
      QRectF(rect()).adjusted(revealMargin, revealMargin, -revealMargin, -revealMargin);
  const auto shift = [](double from, double to, double start, double end) {
    if (to - from >= end - start) return to < start ? start - to : from > end ? end - from : 0.0;
    return from < start ? start - from : to > end ? end - to : 0.0;
  };
  const QPointF by(shift(area.left(), area.right(), view.left(), view.right()),
                   shift(area.top(), area.bottom(), view.top(), view.bottom()));
  if (!by.isNull()) pan(by * ratio_);
}

bool AnnotateCanvas::handleKey(const KeyEvent& key) {
  EditorModel& editor = model_->editor();
  if (key.key == EditorKey::escape && isPressed_) {
    // The button is still down, and means nothing until it is pressed anew.
    isPressed_ = false;
    edge_.stop();
  }
  if (model_->input().handle(key)) return true;
  const bool isPlain = !key.command && !key.alt && !key.shift;
  return key.key == EditorKey::enter && isPlain && !isPressed_ && !editor.isTyping() &&
         editor.selection().size() == 1 &&
         editor.editText(std::string(*editor.selection().begin()));
}

/// Tab goes round the shapes, and on from the canvas where there are none or a frame is worked on.
/// What lies on the canvas asks here as well, and goes on to what is next.
bool AnnotateCanvas::focusNextPrevChild(bool isNext) {
  if (!isReady() || isPressed_ || !hasFocus() || model_->editor().tool() == Tool::crop ||
      model_->editor().state().shapes->empty()) {
    return QWidget::focusNextPrevChild(isNext);
  }
  if (isTyping()) model_->editor().endText();
  model_->editor().selectNext(isNext ? 1 : -1);
  revealWork();
  updateOverlay();
  return true;
}

void AnnotateCanvas::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  showRing(event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
           event->reason() == Qt::ShortcutFocusReason);
  if (isTyping()) restartCaret();
  updateOverlay();
}

void AnnotateCanvas::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  showRing(false);
  isSpaceHeld_ = false;
  caret_.stop();
  // A menu has it for a moment and gives it back.
  if (event->reason() != Qt::PopupFocusReason) endGesture();
  updateOverlay();
}

void AnnotateCanvas::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  endGesture();
  caret_.stop();
}

// Typing.

/// Letters are an input method's only while something is typed: otherwise they are tools.
void AnnotateCanvas::typingChanged() {
  wasTyping_ = isTyping();
  isComposing_ = false;
  if (!wasTyping_) {
    caret_.stop();
    QGuiApplication::inputMethod()->reset();
  }
  setAttribute(Qt::WA_InputMethodEnabled, wasTyping_);
  QGuiApplication::inputMethod()->update(Qt::ImQueryAll);
  if (wasTyping_) restartCaret();
}

void AnnotateCanvas::restartCaret() {
  isCaretShown_ = true;
  const int flash = QGuiApplication::styleHints()->cursorFlashTime();
  if (hasFocus() && flash > 0) caret_.start(flash / 2, this);
  if (hasFocus()) {
    QGuiApplication::inputMethod()->update(Qt::ImCursorRectangle | Qt::ImCursorPosition |
                                           Qt::ImAnchorPosition | Qt::ImSurroundingText);
  }
}

void AnnotateCanvas::inputMethodEvent(QInputMethodEvent* event) {
  event->accept();
  if (!isTyping()) return;
  EditorModel& editor = model_->editor();
  const QString composed = event->preeditString();
  isComposing_ = !composed.isEmpty();
  if (!event->commitString().isEmpty()) {
    editor.setComposedText({}, 0);
    editor.insertText(event->commitString().toStdString());
  }
  int caret = static_cast<int>(composed.size());
  for (const QInputMethodEvent::Attribute& attribute : event->attributes()) {
    if (attribute.type == QInputMethodEvent::Cursor) caret = attribute.start;
  }
  const std::string before = composed.left(caret).toStdString();
  editor.setComposedText(composed.toStdString(), before.size());
  restartCaret();
  revealWork();
  updateOverlay();
}

QRectF AnnotateCanvas::caretArea() const {
  if (!isTyping()) return {QPointF(menuPlace()), QSizeF(1, 1)};
  const auto caret = model_->editor().textCaret();
  if (!caret) return {};
  return areaOf(model_->editor().toCanvas()(caret->caret));
}

QVariant AnnotateCanvas::inputMethodQuery(Qt::InputMethodQuery query) const {
  if (query == Qt::ImCursorRectangle || query == Qt::ImAnchorRectangle) {
    return caretArea().toAlignedRect();
  }
  if (!isTyping()) return QWidget::inputMethodQuery(query);
  const EditorModel& editor = model_->editor();
  const std::string& text = editor.draft()->text;
  const auto caret = editor.textCaret();
  switch (query) {
    case Qt::ImEnabled: return testAttribute(Qt::WA_InputMethodEnabled);
    case Qt::ImFont: {
      QFont shown = font();
      const double pixels =
          editor.draft()->fontSize * std::abs(editor.toCanvas().sy) * view_.zoom() / ratio_;
      shown.setPixelSize(std::clamp(static_cast<int>(std::lround(pixels)), 1, 1000));
      return shown;
    }
    case Qt::ImSurroundingText: return QString::fromStdString(text);
    case Qt::ImCursorPosition:
    case Qt::ImAbsolutePosition: return caret ? lettersBefore(text, caret->offset) : 0;
    case Qt::ImAnchorPosition: return caret ? lettersBefore(text, caret->anchor) : 0;
    case Qt::ImCurrentSelection: return QString::fromStdString(editor.selectedText());
    case Qt::ImHints: return int(Qt::ImhMultiLine);
    default: return QWidget::inputMethodQuery(query);
  }
}

}  // namespace vantorel
