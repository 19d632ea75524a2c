#include "text/records/picture_reading.hpp"

namespace vantorel {

std::string ReadLine::text() const {
  std::string text;
  for (const ReadWord& word : words) {
    if (&word != &words.front()) text += ' ';
    for (const ReadLetter& letter : word.letters) text += letter.text;
  }
  return text;
}

}  // namespace vantorel
