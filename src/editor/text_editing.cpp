#include "editor/text_editing.hpp"

#include <algorithm>
#include <utility>

#include "base/utf8.hpp"

namespace vantorel {
namespace {

/// What can stand in a text: well-formed, with ends of lines as we write them.
std::string typeable(std::string_view text) {
  std::string kept;
  const std::string whole = isUtf8(text) ? std::string(text) : repairedUtf8(text);
  for (std::size_t i = 0; i < whole.size(); ++i) {
    const char letter = whole[i];
    const bool isControl = static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
    if (letter == '\r') {
      if (i + 1 == whole.size() || whole[i + 1] != '\n') kept += '\n';
    } else if (!isControl || letter == '\n' || letter == '\t') {
      kept += letter;
    }
  }
  return kept;
}

/// The start of the character that `offset` lies in: a layout of a text that was damaged may answer
/// with a place that is none.
std::size_t characterStart(const std::string& text, std::size_t offset) {
  offset = std::min(offset, text.size());
  const auto isWithin = [&] {
    return offset > 0 && offset < text.size() &&
           (static_cast<unsigned char>(text[offset]) & 0xC0U) == 0x80U;
  };
  while (isWithin()) --offset;
  return offset;
}

bool isBlank(char letter) { return letter == ' ' || letter == '\n' || letter == '\t'; }

/// Deleting follows the order of reading, whatever the direction of writing.
CaretStep inReadingOrder(CaretStep step) {
  switch (step) {
    case CaretStep::letterLeft: return CaretStep::letterBefore;
    case CaretStep::letterRight: return CaretStep::letterAfter;
    case CaretStep::wordLeft: return CaretStep::wordBefore;
    case CaretStep::wordRight: return CaretStep::wordAfter;
    default: return step;
  }
}

bool isToTheLeft(CaretStep step) {
  return step == CaretStep::letterLeft || step == CaretStep::letterBefore;
}
bool isToTheRight(CaretStep step) {
  return step == CaretStep::letterRight || step == CaretStep::letterAfter;
}

}  // namespace

TextEditing::TextEditing(std::string text) {
  now_.caret = now_.anchor = text.size();
  now_.text = std::move(text);
}

TypedRange TextEditing::selection() const {
  return {std::min(now_.caret, now_.anchor), std::max(now_.caret, now_.anchor)};
}

std::string TextEditing::selectedText() const {
  const TypedRange range = selection();
  return now_.text.substr(range.from, range.to - range.from);
}

std::string TextEditing::shownText() const {
  std::string text = now_.text;
  return text.insert(now_.caret, composed_);
}

TypedRange TextEditing::composed() const { return {now_.caret, now_.caret + composed_.size()}; }

std::size_t TextEditing::shownCaret() const { return now_.caret + composedCaret_; }

/// Begins a step, unless the one under way goes on.
void TextEditing::note(Kind kind) {
  goal_.reset();
  if (kind == Kind::none || kind != open_ || before_.empty() || !after_.empty()) {
    before_.push_back(now_);
  }
  after_.clear();
  open_ = kind;
}

void TextEditing::replaceRange(TypedRange range, std::string_view by) {
  now_.text.replace(range.from, range.to - range.from, by);
  now_.caret = now_.anchor = range.from + by.size();
}

void TextEditing::replace(std::string text) {
  composed_.clear();
  composedCaret_ = 0;
  if (text == now_.text) return;
  if (text.size() > now_.text.size() && text.starts_with(now_.text)) {
    now_.caret = now_.anchor = now_.text.size();
    insert(std::string_view(text).substr(now_.text.size()));
    return;
  }
  note(Kind::none);
  now_.text = std::move(text);
  now_.caret = now_.anchor = now_.text.size();
}

void TextEditing::insert(std::string_view text) {
  composed_.clear();
  composedCaret_ = 0;
  const TypedRange range = selection();
  const std::size_t kept = now_.text.size() - (range.to - range.from);
  std::string letters = typeable(text);
  letters = beginningOf(letters, mostBytes - std::min(mostBytes, kept));
  if (letters.empty() && range.from == range.to) return;
  const bool isOfAWord = std::ranges::none_of(letters, isBlank);
  const bool goesOn = isOfAWord && range.from == range.to &&
                      (range.from == 0 || !isBlank(now_.text[range.from - 1]));
  if (!goesOn) open_ = Kind::none;
  note(Kind::letters);
  if (!isOfAWord) open_ = Kind::none;
  replaceRange(range, letters);
}

void TextEditing::compose(std::string_view text, std::size_t caret) {
  std::string letters = typeable(text);
  const TypedRange range = selection();
  if (!letters.empty() && range.from != range.to) {
    note(Kind::none);
    replaceRange(range, {});
  }
  composed_ = std::move(letters);
  composedCaret_ = beginningOf(composed_, caret).size();
}

void TextEditing::erase(const TextGeometry& geometry, CaretStep step) {
  TypedRange range = selection();
  const bool isMarked = range.from != range.to;
  if (!isMarked) {
    const std::size_t to =
        characterStart(now_.text, geometry.next(now_.caret, inReadingOrder(step)));
    range = {std::min(now_.caret, to), std::max(now_.caret, to)};
    if (range.from == range.to) return;
  }
  note(isMarked ? Kind::none : Kind::deletion);
  replaceRange(range, {});
}

void TextEditing::setCaret(std::size_t offset, bool extends) {
  now_.caret = characterStart(now_.text, offset);
  if (!extends) now_.anchor = now_.caret;
  open_ = Kind::none;
}

void TextEditing::move(const TextGeometry& geometry, CaretStep step, bool extends) {
  const TypedRange range = selection();
  const bool isVertical = step == CaretStep::lineUp || step == CaretStep::lineDown;
  if (!isVertical) goal_.reset();
  if (!extends && range.from != range.to && (isToTheLeft(step) || isToTheRight(step))) {
    // What was marked is left on the side one goes to.
    const bool fromIsLeft = geometry.caret(range.from).x <= geometry.caret(range.to).x ||
                            geometry.caret(range.from).y < geometry.caret(range.to).y;
    return setCaret(isToTheLeft(step) == fromIsLeft ? range.from : range.to, false);
  }
  std::size_t to = geometry.next(now_.caret, step);
  if (isVertical) {
    if (!goal_) goal_ = geometry.caret(now_.caret).x;
    const Box line = geometry.caret(to);
    const Box before = geometry.caret(now_.caret);
    if (line.y != before.y) to = geometry.offsetAt({*goal_, line.y + line.h / 2});
  }
  const std::optional<double> goal = goal_;
  setCaret(to, extends);
  goal_ = goal;
}

void TextEditing::place(const TextGeometry& geometry, Pt at, bool extends, int clicks) {
  goal_.reset();
  const std::size_t offset = geometry.offsetAt(at);
  if (clicks < 2) return setCaret(offset, extends);
  TypedRange range = geometry.wordAt(offset);
  if (clicks > 2) {
    range = {geometry.next(offset, CaretStep::lineStart),
             geometry.next(offset, CaretStep::lineEnd)};
  }
  setCaret(range.from, false);
  setCaret(range.to, true);
}

void TextEditing::select(std::size_t anchor, std::size_t caret) {
  goal_.reset();
  setCaret(anchor, false);
  setCaret(caret, true);
}

void TextEditing::selectAll() {
  goal_.reset();
  setCaret(0, false);
  setCaret(now_.text.size(), true);
}

bool TextEditing::undo() {
  if (before_.empty()) return false;
  after_.push_back(std::exchange(now_, std::move(before_.back())));
  before_.pop_back();
  open_ = Kind::none;
  goal_.reset();
  return true;
}

bool TextEditing::redo() {
  if (after_.empty()) return false;
  before_.push_back(std::exchange(now_, std::move(after_.back())));
  after_.pop_back();
  open_ = Kind::none;
  goal_.reset();
  return true;
}

}  // namespace vantorel
