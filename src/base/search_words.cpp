#include "base/search_words.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {
namespace {

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

}  // namespace

SearchWords::SearchWords(std::string_view text) {
  std::string word;
  for (const char c : lowered(text) + " ") {
    if (c != ' ' && c != '\t') {
      word += c;
    } else if (!word.empty()) {
      words_.push_back(std::exchange(word, {}));
    }
  }
}

bool SearchWords::areIn(std::string_view text) const {
  const std::string read = lowered(text);
  return std::ranges::all_of(
      words_, [&](const std::string& word) { return read.find(word) != std::string::npos; });
}

}  // namespace vantorel
