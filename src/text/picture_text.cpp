#include "text/picture_text.hpp"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "text/code_points.hpp"
#include "text/edited_reading.hpp"
#include "text/letter_edges.hpp"

namespace vantorel {
namespace {

OCRBox fractionsOf(const PixelRect& rect, PixelSize picture) {
  const PixelRect inside = intersection(rect, {0, 0, picture.width, picture.height});
  const auto fraction = [](int part, int whole) {
    return static_cast<float>(static_cast<double>(part) / std::max(whole, 1));
  };
  OCRBox box;
  box.x = fraction(inside.x, picture.width);
  box.y = fraction(inside.y, picture.height);
  box.w = fraction(inside.width, picture.width);
  box.h = fraction(inside.height, picture.height);
  return box;
}

/// Where each letter of the line begins, and the end of the last, in heights of the line.
std::vector<double> edgesOf(const ReadLine& line) {
  const double height = std::max(line.box.height, 1);
  std::vector<double> edges;
  double reached = 0;
  double end = 0;
  // Ink of neighbours overlaps in slanted type: a letter begins no earlier than the one before.
  const auto begin = [&](double place) {
    reached = std::max(reached, (place - line.box.x) / height);
    edges.push_back(reached);
  };
  for (const ReadWord& word : line.words) {
    if (&word != &line.words.front()) begin(end);
    for (const ReadLetter& letter : word.letters) {
      const std::size_t parts = codePointCount(letter.text);
      for (std::size_t part = 0; part < parts; ++part) {
        begin(letter.box.x + static_cast<double>(letter.box.width) * static_cast<double>(part) /
                                 static_cast<double>(parts));
      }
      end = std::max(end, static_cast<double>(letter.box.right()));
    }
  }
  begin(std::max(end, static_cast<double>(line.box.right())));
  return edges;
}

}  // namespace

PictureText pictureText(const PictureReading& reading) {
  PictureText found;
  found.isTruncated = reading.isTruncated;
  std::size_t letters = 0;
  for (const ReadBlock& read : reading.blocks) {
    OCRBlock block;
    for (const ReadLine& readLine : read.lines) {
      OCRLine line;
      line.text = readLine.text();
      if (line.text.empty()) continue;
      // What joins the lines counts as well.
      letters += codePointCount(line.text) + (block.lines.empty() ? 2 : 1);
      if (letters > maximumRecognisedLetters + 2) {
        found.isTruncated = true;
        break;
      }
      line.box = fractionsOf(readLine.box, reading.size);
      line.confidence = std::clamp(readLine.confidence, 0.0F, 1.0F);
      line.letters = encodedLetters(edgesOf(readLine));
      block.lines.push_back(std::move(line));
    }
    if (!block.lines.empty()) found.blocks.push_back(std::move(block));
    if (letters > maximumRecognisedLetters + 2) break;
  }
  found.text = recognisedText(found.blocks);
  for (const ReadCode& code : reading.codes) {
    found.codes.push_back({.payload = code.payload,
                           .symbology = code.symbology,
                           .box = fractionsOf(code.box, reading.size),
                           .extra = {}});
  }
  found.shape = textShapeOf(found.blocks, reading.size);
  return found;
}

}  // namespace vantorel
