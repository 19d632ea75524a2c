#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editor/records/shape.hpp"
#include "platform/text_geometry.hpp"

namespace vantorel {

/// Lays out a `text` shape.
using LayOutText = std::function<std::unique_ptr<TextGeometry>(const Shape& text)>;

/// A caret as it is painted, in the pixels of the text's shape.
struct TextCaret {
  Box caret;                   ///< without width
  std::vector<Box> selection;  ///< what is marked
  std::vector<Box> composed;   ///< the text that an input method has not handed over yet
  std::size_t offset = 0;      ///< of the caret, in the text without what is composed
  std::size_t anchor = 0;      ///< where the selection began
};

/// A text while it is typed: its letters, the caret, the selection, what an input method composes,
/// and the steps that can be taken back. Letters of a word are one step. Pure.
class TextEditing {
 public:
  /// More is neither drawn nor taken, in bytes.
  static constexpr std::size_t mostBytes = 20'000;

  /// The caret stands at the end.
  explicit TextEditing(std::string text);

  [[nodiscard]] const std::string& text() const { return now_.text; }
  [[nodiscard]] std::size_t caret() const { return now_.caret; }
  [[nodiscard]] std::size_t anchor() const { return now_.anchor; }
  [[nodiscard]] TypedRange selection() const;
  [[nodiscard]] std::string selectedText() const;

  /// What is shown: the text with what is composed, and where that stands.
  [[nodiscard]] std::string shownText() const;
  [[nodiscard]] TypedRange composed() const;
  /// The caret in `shownText`.
  [[nodiscard]] std::size_t shownCaret() const;

  /// All of it is replaced, as by somebody who typed it.
  void replace(std::string text);

  /// Puts text in place of the selection. Control characters but tabs and ends of lines are left
  /// out, and what composes ends.
  void insert(std::string_view text);

  /// Shows text at the caret that is not typed yet; `caret` is an offset in it. Empty ends it.
  void compose(std::string_view text, std::size_t caret);

  // The geometry is the one of `text()`, of what nothing is composed in.
  /// Deletes the selection, or from the caret to where the step leads.
  void erase(const TextGeometry& geometry, CaretStep step);
  void move(const TextGeometry& geometry, CaretStep step, bool extends);
  /// A click; two select a word, three a line.
  void place(const TextGeometry& geometry, Pt at, bool extends, int clicks);
  void selectAll();
  /// From byte `anchor` to the caret at byte `caret`.
  void select(std::size_t anchor, std::size_t caret);

  bool undo();
  bool redo();
  [[nodiscard]] bool canUndo() const { return !before_.empty(); }
  [[nodiscard]] bool canRedo() const { return !after_.empty(); }

 private:
  enum class Kind { none, letters, deletion };
  struct State {
    std::string text;
    std::size_t caret = 0;
    std::size_t anchor = 0;
  };

  void note(Kind kind);
  void replaceRange(TypedRange range, std::string_view by);
  void setCaret(std::size_t offset, bool extends);

  State now_;
  std::vector<State> before_;
  std::vector<State> after_;
  Kind open_ = Kind::none;  // of the step that goes on as long as nothing else is done
  std::string composed_;
  std::size_t composedCaret_ = 0;
  std::optional<double> goal_;  // where the caret would be in a longer line, going up and down
};

}  // namespace vantorel
