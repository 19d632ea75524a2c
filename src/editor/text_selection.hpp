#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/geometry.hpp"
#include "editor/records/box.hpp"
#include "text/records/ocr_block.hpp"

namespace vantorel {

/// The recognised text of a capture as it lies on the picture, and what of it is selected: letters
/// in reading order, from one place to another. Letters lie where they were read; those of a line
/// that does not say where share its width evenly. Places are in capture pixels.
class TextSelection {
 public:
  TextSelection() = default;
  TextSelection(const std::vector<OCRBlock>& blocks, PixelSize capture);

  /// What a selection grows by while the pointer is dragged.
  enum class Unit { letter, word, line };

  [[nodiscard]] bool hasText() const { return !lines_.empty(); }

  /// True when there is a word at `at`.
  [[nodiscard]] bool hasWordAt(Pt at) const;

  /// Starts anew at the text nearest to `at`; by letter nothing is selected at first.
  void begin(Pt at, Unit unit);

  /// Selects from where it began to the text nearest to `at`.
  void extendTo(Pt at);

  void clear();
  [[nodiscard]] bool isEmpty() const { return !(from_ < to_); }

  /// The selected text, lines apart or joined by spaces, with an empty line between blocks.
  [[nodiscard]] std::string text(bool joinLines) const { return text(joinLines, {}); }

  /// Likewise, without words of which a part may lie in one of the `covered` areas, in capture
  /// pixels.
  [[nodiscard]] std::string text(bool joinLines, const std::vector<PixelRect>& covered) const;

  /// Where the selected text lies: a box for each line.
  [[nodiscard]] std::vector<Box> boxes() const;

  /// What holds all of the selected text for certain: as `boxes`, and larger. Where the letters'
  /// places are not known, large enough for any font.
  [[nodiscard]] std::vector<Box> coveringBoxes() const;

 private:
  struct Line {
    std::string text;
    std::vector<std::size_t> letters;  // where each begins in `text`, and the end of the last
    Box box;
    std::size_t block = 0;
    std::vector<double> edges;  // where each begins, and the end of the last, in capture pixels
    bool isMeasured = false;    // `edges` were read, and are not an even sharing

    [[nodiscard]] std::size_t length() const { return letters.size() - 1; }
    [[nodiscard]] bool isSpace(std::size_t letter) const { return text[letters[letter]] == ' '; }
    /// The letter that lies at `x`, or the nearest.
    [[nodiscard]] std::size_t letterAt(double x) const;
    /// The edge nearest to `x`.
    [[nodiscard]] std::size_t edgeAt(double x) const;
  };
  [[nodiscard]] static Box coveringBox(const Line& line, std::size_t first, std::size_t last);
  [[nodiscard]] static bool isCovered(const Line& line, std::size_t first, std::size_t last,
                                      const std::vector<PixelRect>& covered);
  struct Place {
    std::size_t line = 0;
    std::size_t letter = 0;
    auto operator<=>(const Place&) const = default;
  };
  struct Span {
    Place from;
    Place to;
  };

  [[nodiscard]] std::size_t nearestLine(Pt at) const;
  [[nodiscard]] Span spanAt(Pt at, Unit unit) const;
  /// The letters of a line that are selected.
  [[nodiscard]] Span selectedOf(std::size_t line) const;

  std::vector<Line> lines_;
  Unit unit_ = Unit::letter;
  Span start_;
  Place from_;
  Place to_;
};

}  // namespace vantorel
