#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/geometry.hpp"

namespace vantorel {

// What a recogniser read in a picture, as precisely as it knows it. Places are in pixels of the
// picture, origin at the top left. What a library entry keeps of it is `OCRBlock`.

/// Stands for ink between words that nothing was read for, in words that are noise.
inline constexpr std::string_view unreadLetter = "\uFFFD";

/// One letter as it was read.
struct ReadLetter {
  std::string text;      ///< UTF-8, never a blank
  PixelRect box;         ///< where its ink lies
  float confidence = 0;  ///< 0 to 1
};

struct ReadWord {
  std::vector<ReadLetter> letters;  ///< from left to right, at least one
  PixelRect box;
  bool isNoise = false;  ///< more likely an icon or an ornament than a word
};

struct ReadLine {
  std::vector<ReadWord> words;  ///< at least one
  PixelRect box;
  float confidence = 0;  ///< 0 to 1

  /// The words with a blank between them.
  [[nodiscard]] std::string text() const;
};

/// Takes the noise out of `line`; answers whether a word is left.
bool dropNoise(ReadLine& line);

/// Lines that belong together, such as a paragraph.
struct ReadBlock {
  std::vector<ReadLine> lines;
};

/// A bar code or QR code.
struct ReadCode {
  std::string payload;    ///< UTF-8
  std::string symbology;  ///< "qr", "ean13" and so on
  PixelRect box;
};

struct PictureReading {
  PixelSize size;  ///< of the picture
  std::vector<ReadBlock> blocks;
  std::vector<ReadCode> codes;
  bool isTruncated = false;  ///< there was more than is kept
};

[[nodiscard]] PictureReading withoutNoise(PictureReading reading);

}  // namespace vantorel
