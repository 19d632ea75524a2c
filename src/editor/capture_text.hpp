#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "editor/records/box.hpp"
#include "library/records/screenshot_entry.hpp"
#include "text/records/sensitive_match.hpp"

// A capture's text as it may be shown, found and copied: without any word that a redaction covers a
// part of, and without what the crop leaves out. Pure; any thread.

namespace vantorel {

/// A recognised line that may be shown.
struct ShownLine {
  const OCRLine* line = nullptr;  ///< of the entry
  std::size_t block = 0;
  std::vector<TextRange> hidden{};  ///< the words of its text that may not, from left to right

  /// What is left, with one blank for each run of blanks.
  [[nodiscard]] std::string text() const;
};

/// The recognised lines of which a word may be shown.
[[nodiscard]] std::vector<ShownLine> shownLines(const ScreenshotEntry& entry);

/// The text as the user wants it. Where a redaction covers a part of a block, what was recognised
/// stands for the user's correction of it, and of the whole text: nobody knows where in it the
/// covered words are. Empty when it is not known where the text lies.
[[nodiscard]] std::string captureText(const ScreenshotEntry& entry);

/// The same without a copy where the entry has it: a part of the entry, or of `room`.
[[nodiscard]] std::string_view captureTextIn(const ScreenshotEntry& entry, std::string& room);

/// The entry with what may be shown of its text and codes, for whoever prints all of it.
[[nodiscard]] ScreenshotEntry withShownText(const ScreenshotEntry& entry);

/// The text for the clipboard. With `joinsLines` the lines of a paragraph are one, unless they are
/// those of a table or of code.
[[nodiscard]] std::string copiedCaptureText(const ScreenshotEntry& entry, bool joinsLines);

/// Where the line does not say where its letters are: the place that holds them for certain, or the
/// one they have when all are as wide.
enum class LetterGuess { certain, likely };

/// Where letters of a line lie, from byte `range.begin` of its text up to `range.end`: fractions of
/// the picture. `aspect` is the picture's width by its height.
[[nodiscard]] Box boxOf(const OCRLine& line, TextRange range, double aspect, LetterGuess guess);

}  // namespace vantorel
