#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/records/picture_reading.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// A letter of a reading and where it belongs.
struct PlacedLetter {
  std::string text;  ///< UTF-8
  PixelRect box;
  float confidence = 0;
  int line = 0;  ///< counts the lines of the reading
  bool beginsWord = false;
  bool beginsLine = false;
  bool isNoise = false;  ///< its word is
};

/// A text whose letters know where they were read: that of a reading, or what is made of it by
/// taking letters for others and leaving blanks out.
struct LetterText {
  std::string text;          ///< UTF-8
  std::vector<int> letters;  ///< of each byte the letter it came from, -1: of none (a blank)

  void add(std::string_view part, int letter);
  void addBlank(char blank) { add(std::string_view(&blank, 1), -1); }

  /// The letters in a stretch of it, each once, in order.
  [[nodiscard]] std::vector<int> lettersIn(const TextRange& range) const;
};

/// The letters of a reading in order.
[[nodiscard]] std::vector<PlacedLetter> placedLetters(const PictureReading& reading);

/// As they were read: a blank between words, an end between lines.
[[nodiscard]] LetterText plainText(const std::vector<PlacedLetter>& letters);

/// With digits in the place of letters that are taken for them ("O", "l", "S", "B"), in words that
/// are mostly digits.
[[nodiscard]] LetterText textWithDigits(const std::vector<PlacedLetter>& letters);

/// With "@" in the place of the signs that are taken for it, without the blanks that are read
/// beside it, behind "://" and before the ending of a host.
[[nodiscard]] LetterText textWithJoinedHosts(const std::vector<PlacedLetter>& letters);

/// With letters in the place of signs that are taken for them in postal addresses ("Stra&e",
/// "1015 C]", "P.0. Box").
[[nodiscard]] LetterText textWithAddressLetters(const std::vector<PlacedLetter>& letters);

/// The digit that a letter is easily taken for, or is; 0: none.
[[nodiscard]] char digitTakenFor(std::string_view letter);

}  // namespace vantorel
