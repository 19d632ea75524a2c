#pragma once

#include <cstddef>
#include <vector>

#include "text/letter_text.hpp"

namespace vantorel {

/// The rows that a box may cover without a part of what other lines say.
struct RowLimits {
  int top = 0;
  int bottom = 0;  ///< not included
};

/// Where the lines of a reading lie. Answers in the time that takes which the neighbours of a line
/// have letters, however many lines there are.
class ReadingLines {
 public:
  struct Line {
    std::size_t first = 0;  ///< of its letters
    std::size_t last = 0;   ///< behind the last one
    PixelRect box;          ///< of all of them
  };

  explicit ReadingLines(const std::vector<PlacedLetter>& letters);

  [[nodiscard]] const std::vector<Line>& lines() const { return lines_; }

  /// Of a box in `line`: up to the letters above it and below it, and within the picture's height.
  [[nodiscard]] RowLimits limits(int line, const PixelRect& box, int pictureHeight) const;

 private:
  std::vector<PlacedLetter> letters_;
  std::vector<Line> lines_;
  std::vector<std::vector<int>> stripes_;  ///< the lines in each stripe of the picture
};

}  // namespace vantorel
