#include "platform/linux/recognition/reading_noise.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vantorel {
namespace {

bool isLetterOrDigit(const ReadLetter& letter) {
  const auto first = static_cast<unsigned char>(letter.text.front());
  return first >= 0x80 || (first >= '0' && first <= '9') || (first >= 'A' && first <= 'Z') ||
         (first >= 'a' && first <= 'z');
}

std::size_t lettersIn(const ReadWord& word) {
  return static_cast<std::size_t>(std::ranges::count_if(word.letters, isLetterOrDigit));
}

}  // namespace

void markNoise(ReadLine& line, const std::vector<float>& confidences) {
  // Among words that are sure, a doubtful one is a word as well.
  int sure = 0;
  for (std::size_t i = 0; i < line.words.size(); ++i) {
    if (confidences[i] >= 0.8F && lettersIn(line.words[i]) >= 3) ++sure;
  }
  const bool isSentence = sure >= 2;
  for (std::size_t i = 0; i < line.words.size(); ++i) {
    const std::size_t letters = lettersIn(line.words[i]);
    float least = 0;
    if (letters == 0) {
      least = isSentence ? 0.5F : 0.7F;
    } else if (letters <= 3) {
      least = isSentence ? 0.3F : 0.6F;
    } else if (letters <= 8) {
      least = 0.15F;
    }
    line.words[i].isNoise = confidences[i] < least;
  }
}

}  // namespace vantorel
