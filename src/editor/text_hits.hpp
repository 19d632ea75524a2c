#pragma once

#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "editor/records/box.hpp"
#include "library/records/screenshot_entry.hpp"
#include "library/search_word.hpp"
#include "text/records/sensitive_match.hpp"

// Where in a capture's text a search has found something. Nothing of what its redactions cover, or
// its crop leaves out, is in any of it. Pure; any thread.

namespace vantorel {

/// A line of the text that matched, in short.
struct TextSnippet {
  std::string text;             ///< UTF-8, with "…" where it was cut, between words if possible
  std::vector<TextRange> hits;  ///< in `text`, from left to right, none over another

  [[nodiscard]] bool isEmpty() const { return text.empty(); }
  bool operator==(const TextSnippet&) const = default;
};

/// The first line that has the most of the words, at most about `length` letters of it around the
/// first hit, of the text as the user wants it. Empty when the text has none of the words.
[[nodiscard]] TextSnippet textSnippet(const ScreenshotEntry& entry,
                                      const std::vector<SearchWord>& words,
                                      std::size_t length = 100);

/// Where the words stand on the capture: fractions of its width and height, in reading order; one
/// box for each line that a phrase has a part of. Nothing where only a correction has them.
[[nodiscard]] std::vector<Box> hitBoxes(const ScreenshotEntry& entry,
                                        const std::vector<SearchWord>& words);

/// The same boxes as fractions of the picture that is shown of it: cropped, on its canvas, with its
/// background. Those out of it are left out.
[[nodiscard]] std::vector<Box> onShownPicture(const ScreenshotEntry& entry,
                                              const std::vector<Box>& boxes);

/// The size of that picture, in pixels; none when it is not known.
[[nodiscard]] PixelSize shownPictureSize(const ScreenshotEntry& entry);

}  // namespace vantorel
