#include "platform/testing/fake_text_recogniser.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {
namespace {

PixelRect around(const PixelRect& a, const PixelRect& b) {
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

std::size_t letterLength(char first) {
  const auto byte = static_cast<unsigned char>(first);
  return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

ReadLine typedLine(std::string_view text, int y, const TypedLayout& layout) {
  ReadLine line{.words = {}, .box = {}, .confidence = 0.9F};
  bool beginsWord = true;
  int x = layout.left;
  while (!text.empty()) {
    const std::string_view letter = text.substr(0, letterLength(text.front()));
    text.remove_prefix(letter.size());
    const PixelRect box{x, y, layout.letterWidth - 1, layout.letterHeight};
    x += layout.letterWidth;
    if (letter == " ") {
      beginsWord = true;
      continue;
    }
    if (beginsWord) line.words.push_back({.letters = {}, .box = box});
    beginsWord = false;
    ReadWord& word = line.words.back();
    word.letters.push_back({std::string(letter), box, 0.9F});
    word.box = around(word.box, box);
  }
  for (const ReadWord& word : line.words) {
    line.box = line.box.isEmpty() ? word.box : around(line.box, word.box);
  }
  return line;
}

}  // namespace

auto FakeTextRecogniser::read(const Image& picture, const ReadingRequest& request,
                              const std::stop_token& stop) -> Answer {
  requests.push_back(request);
  if (stop.stop_requested()) {
    return std::unexpected(RecognitionFailure{RecognitionFailure::Case::cancelled});
  }
  if (onRead) return onRead(picture, request);
  PictureReading nothing;
  nothing.size = picture.size();
  return nothing;
}

PictureReading readingOf(std::string_view text, PixelSize size, const TypedLayout& layout) {
  PictureReading reading;
  reading.size = size;
  int y = layout.top;
  bool beginsBlock = true;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    ReadLine line = typedLine(text.substr(0, end), y, layout);
    text.remove_prefix(std::min(end + 1, text.size()));
    y += layout.lineHeight;
    if (line.words.empty()) {
      beginsBlock = true;
      continue;
    }
    if (beginsBlock) reading.blocks.emplace_back();
    beginsBlock = false;
    reading.blocks.back().lines.push_back(std::move(line));
  }
  return reading;
}

}  // namespace vantorel
