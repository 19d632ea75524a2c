#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "text/records/detected_code.hpp"
#include "text/records/ocr_block.hpp"
#include "text/records/picture_reading.hpp"
#include "text/records/text_shape.hpp"

namespace vantorel {

/// Raised when recognition gets better or keeps more: entries read by an earlier version are read
/// again.
inline constexpr int currentOcrVersion = 1;

/// The most letters (code points) of one capture that are kept.
inline constexpr std::size_t maximumRecognisedLetters = 200'000;

/// What a library entry keeps of what was read in a picture.
struct PictureText {
  std::vector<OCRBlock> blocks;  ///< the lines with their letters' places
  std::string text;              ///< joined
  std::vector<DetectedCode> codes;
  TextShape shape = TextShape::plain;
  bool isTruncated = false;
};

[[nodiscard]] PictureText pictureText(const PictureReading& reading);

/// What the text looks like as a whole, told by how its lines lie and what they are made of.
[[nodiscard]] TextShape textShapeOf(const std::vector<OCRBlock>& blocks, PixelSize picture);

}  // namespace vantorel
