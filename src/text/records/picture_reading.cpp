#include "text/records/picture_reading.hpp"

#include <algorithm>

namespace vantorel {

std::string ReadLine::text() const {
  std::string text;
  for (const ReadWord& word : words) {
    if (&word != &words.front()) text += ' ';
    for (const ReadLetter& letter : word.letters) text += letter.text;
  }
  return text;
}

bool dropNoise(ReadLine& line) {
  if (std::erase_if(line.words, [](const ReadWord& word) { return word.isNoise; }) == 0) {
    return true;
  }
  if (line.words.empty()) return false;
  const PixelRect& first = line.words.front().box;
  int right = first.right();
  int top = first.y;
  int bottom = first.bottom();
  for (const ReadWord& word : line.words) {
    right = std::max(right, word.box.right());
    top = std::min(top, word.box.y);
    bottom = std::max(bottom, word.box.bottom());
  }
  line.box = {first.x, top, right - first.x, bottom - top};
  return true;
}

PictureReading withoutNoise(PictureReading reading) {
  for (ReadBlock& block : reading.blocks) {
    std::erase_if(block.lines, [](ReadLine& line) { return !dropNoise(line); });
  }
  std::erase_if(reading.blocks, [](const ReadBlock& block) { return block.lines.empty(); });
  return reading;
}

}  // namespace vantorel
