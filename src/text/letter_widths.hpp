#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace vantorel {

/// A stretch of a line of text, as fractions of the line's width.
struct LineStretch {
  double from = 0;
  double to = 1;
};

/// How wide a letter (UTF-8) is in a plain typeface, in em.
[[nodiscard]] double usualLetterWidth(std::string_view letter);

/// Where letters `first` up to, not including, `last` of a recognised line lie at the most.
/// `letters` says where each letter begins in `text`, and the end of the last. Recognition knows
/// the line's box alone, `aspect` times as wide as high, and not its font: what is given holds the
/// letters in a font of even widths and in any usual one of others, with room to spare, and is the
/// whole line where gaps in it make guessing vain.
[[nodiscard]] LineStretch widestStretch(std::string_view text,
                                        const std::vector<std::size_t>& letters, std::size_t first,
                                        std::size_t last, double aspect);

}  // namespace vantorel
