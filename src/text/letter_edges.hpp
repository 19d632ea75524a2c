#pragma once

#include <string>
#include <vector>

#include "text/records/ocr_block.hpp"

namespace vantorel {

/// Where the letters of a line lie, as one character a letter or little more: `OCRLine::letters`.
/// `edges` are where each letter (code point, blanks too) of the line's text begins, and the end of
/// the last, from 0 at the line's left edge, in heights of the line. They never decrease.
[[nodiscard]] std::string encodedLetters(const std::vector<double>& edges);

/// What `encodedLetters` was given, to within a fortieth of the line's height, as fractions of the
/// line's width: one more than the text has letters. Empty when the line does not say, or what it
/// says does not fit its text. `aspect` is the line's width in pixels by its height in pixels.
[[nodiscard]] std::vector<double> letterEdges(const OCRLine& line, double aspect);

}  // namespace vantorel
