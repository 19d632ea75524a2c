#include "ui/annotate/typed_text_accessible.hpp"

#include <algorithm>
#include <string>

#include "platform/text_geometry.hpp"
#include "ui/annotate/annotate_canvas.hpp"

namespace vantorel {
namespace {

int lettersOf(const std::string& text, std::size_t bytes) {
  return static_cast<int>(
      QString::fromUtf8(text.data(), static_cast<qsizetype>(std::min(bytes, text.size()))).size());
}

}  // namespace

bool TypedTextAccessible::isValid() const {
  return canvas_.isReady() && canvas_.model().editor().isTyping();
}

QString TypedTextAccessible::all() const {
  return isValid() ? QString::fromStdString(canvas_.model().editor().draft()->text) : QString();
}

TypedTextAccessible::Told TypedTextAccessible::now() const {
  const EditorModel& editor = canvas_.model().editor();
  const auto caret = editor.textCaret();
  if (!caret) return {.text = all()};
  const std::string& text = editor.draft()->text;
  return {all(), lettersOf(text, caret->offset), lettersOf(text, caret->anchor)};
}

std::size_t TypedTextAccessible::bytesBefore(int offset) const {
  return all().left(std::max(offset, 0)).toStdString().size();
}

QString TypedTextAccessible::text(QAccessible::Text what) const {
  if (what == QAccessible::Name) return QStringLiteral("Text");
  return what == QAccessible::Value ? all() : QString();
}

QRect TypedTextAccessible::rect() const {
  if (!isValid()) return {};
  const QRect area = canvas_.areaOfShape(*canvas_.model().editor().draft());
  return {canvas_.mapToGlobal(area.topLeft()), area.size()};
}

QAccessible::State TypedTextAccessible::state() const {
  QAccessible::State state;
  state.invalid = !isValid();
  state.focusable = true;
  state.focused = isValid() && canvas_.hasFocus();
  state.editable = true;
  state.multiLine = true;
  state.selectableText = true;
  return state;
}

void* TypedTextAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
  if (type == QAccessible::EditableTextInterface) {
    return static_cast<QAccessibleEditableTextInterface*>(this);
  }
  return nullptr;
}

void TypedTextAccessible::selection(int index, int* from, int* to) const {
  *from = *to = 0;
  if (index != 0 || !isValid()) return;
  const Told here = now();
  *from = std::min(here.caret, here.anchor);
  *to = std::max(here.caret, here.anchor);
}

int TypedTextAccessible::selectionCount() const {
  if (!isValid()) return 0;
  const Told here = now();
  return here.caret == here.anchor ? 0 : 1;
}

void TypedTextAccessible::removeSelection(int index) {
  if (index == 0) setCursorPosition(cursorPosition());
}

void TypedTextAccessible::setSelection(int index, int from, int to) {
  if (index == 0) select(from, to);
}

int TypedTextAccessible::cursorPosition() const { return isValid() ? now().caret : 0; }

void TypedTextAccessible::select(int from, int to) {
  if (isValid()) canvas_.model().editor().selectTyped(bytesBefore(from), bytesBefore(to));
}

QString TypedTextAccessible::text(int from, int to) const {
  const QString whole = all();
  // To the end, as the toolkit asks for it.
  const int end = to < 0 ? static_cast<int>(whole.size()) : to;
  return whole.mid(from, std::max(end - from, 0));
}

int TypedTextAccessible::characterCount() const { return static_cast<int>(all().size()); }

QRect TypedTextAccessible::characterRect(int offset) const {
  const TextGeometry* const geometry =
      isValid() ? canvas_.model().editor().typedGeometry() : nullptr;
  if (geometry == nullptr) return {};
  const std::size_t from = bytesBefore(offset);
  const auto boxes = geometry->boxes({from, geometry->next(from, CaretStep::letterAfter)});
  const Box box = boxes.empty() ? geometry->caret(from) : boxes.front();
  const QRect area = canvas_.areaOf(canvas_.model().editor().toCanvas()(box)).toAlignedRect();
  return {canvas_.mapToGlobal(area.topLeft()), area.size()};
}

int TypedTextAccessible::offsetAtPoint(const QPoint& point) const {
  const TextGeometry* const geometry =
      isValid() ? canvas_.model().editor().typedGeometry() : nullptr;
  if (geometry == nullptr) return -1;
  const EditorModel& editor = canvas_.model().editor();
  const Pt at = editor.toCanvas().inverse()(canvas_.canvasAt(canvas_.mapFromGlobal(point)));
  return lettersOf(editor.draft()->text, geometry->offsetAt(at));
}

QString TypedTextAccessible::attributes(int, int* from, int* to) const {
  *from = 0;
  *to = characterCount();
  return {};
}

void TypedTextAccessible::replaceText(int from, int to, const QString& text) {
  if (!isValid()) return;
  select(from, to);
  canvas_.model().editor().insertText(text.toStdString());
}

/// What lies between the letters that are as before at both ends.
void TypedTextAccessible::announceLetters(const QString& before, const QString& after, Tell tell) {
  const qsizetype shorter = std::min(before.size(), after.size());
  qsizetype head = 0;
  while (head < shorter && before[head] == after[head]) ++head;
  qsizetype tail = 0;
  while (tail < shorter - head &&
         before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
    ++tail;
  }
  const QString removed = before.mid(head, before.size() - head - tail);
  const QString inserted = after.mid(head, after.size() - head - tail);
  const int at = static_cast<int>(head);
  if (!removed.isEmpty()) {
    QAccessibleTextRemoveEvent event(this, at, removed);
    tell(&event);
  }
  if (!inserted.isEmpty()) {
    QAccessibleTextInsertEvent event(this, at, inserted);
    tell(&event);
  }
}

void TypedTextAccessible::announce(Tell tell) {
  const bool wasTold = isTold_;
  isTold_ = isValid();
  if (!isTold_) {
    told_ = {};
    if (!wasTold || !canvas_.hasFocus()) return;
    QAccessibleEvent left(&canvas_, QAccessible::Focus);
    return tell(&left);
  }
  const Told before = wasTold ? told_ : now();
  told_ = now();
  if (!wasTold) {
    QAccessibleEvent begun(this, QAccessible::Focus);
    tell(&begun);
  }
  announceLetters(before.text, told_.text, tell);
  if (!wasTold || told_.caret != before.caret) {
    QAccessibleTextCursorEvent moved(this, told_.caret);
    tell(&moved);
  }
  const bool isMarked = told_.caret != told_.anchor;
  const bool wasMarked = before.caret != before.anchor;
  if ((isMarked || wasMarked) && (told_.caret != before.caret || told_.anchor != before.anchor)) {
    QAccessibleTextSelectionEvent marked(this, std::min(told_.caret, told_.anchor),
                                         std::max(told_.caret, told_.anchor));
    tell(&marked);
  }
}

}  // namespace vantorel
