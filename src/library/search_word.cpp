#include "library/search_word.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "base/folded_text.hpp"

namespace vantorel {
namespace {

constexpr bool isBlank(char byte) {
  return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F';
}

bool isAllASCII(std::string_view text) {
  std::uint64_t all = 0;
  std::size_t i = 0;
  for (std::uint64_t eight = 0; i + sizeof eight <= text.size(); i += sizeof eight) {
    std::memcpy(&eight, text.data() + i, sizeof eight);
    all |= eight;
  }
  for (; i < text.size(); ++i) all |= static_cast<unsigned char>(text[i]);
  return (all & 0x8080808080808080U) == 0;
}

char lowered(char byte) {
  return static_cast<char>(byte + ((byte >= 'A' && byte <= 'Z') ? 'a' - 'A' : 0));
}

/// Whether `word` stands at `at` in a text of ASCII.
bool standsAt(std::string_view text, std::size_t at, std::string_view word) {
  for (const char letter : word) {
    if (at >= text.size()) return false;
    if (letter != ' ') {
      if (lowered(text[at]) != letter) return false;
      ++at;
      continue;
    }
    int lineEnds = 0;
    const std::size_t begin = at;
    for (; at < text.size() && isBlank(text[at]); ++at) lineEnds += text[at] == '\n' ? 1 : 0;
    if (at == begin || lineEnds > 1) return false;
  }
  return true;
}

/// The same of a word that begins with `reach` + 1 letters other than blanks.
bool standsInASCII(std::string_view text, std::string_view word, std::size_t reach) {
  std::size_t from = 0;
#ifdef __SSE2__
  constexpr std::size_t step = 16;
  const auto caseBit = [](char letter) {
    return static_cast<char>(letter >= 'a' && letter <= 'z' ? 'a' - 'A' : 0);
  };
  const __m128i first = _mm_set1_epi8(word.front());
  const __m128i firstCase = _mm_set1_epi8(caseBit(word.front()));
  const __m128i last = _mm_set1_epi8(word[reach]);
  const __m128i lastCase = _mm_set1_epi8(caseBit(word[reach]));
  for (; from + reach + step <= text.size(); from += step) {
    const char* const at = text.data() + from;
    const __m128i begins = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i ends = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + reach));
    const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(begins, firstCase), first),
                                       _mm_cmpeq_epi8(_mm_or_si128(ends, lastCase), last));
    for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(both)); mask != 0; mask &= mask - 1) {
      if (standsAt(text, from + static_cast<std::size_t>(std::countr_zero(mask)), word))
        return true;
    }
  }
#endif
  for (; from + reach < text.size(); ++from) {
    if (standsAt(text, from, word)) return true;
  }
  return false;
}

void addOnce(std::vector<std::string>& words, std::string word) {
  if (std::ranges::find(words, word) == words.end()) words.push_back(std::move(word));
}

}  // namespace

std::string searchableText(std::string_view text) {
  std::string folded = foldedText(text);
  std::size_t end = 0;
  for (std::size_t i = 0; i < folded.size();) {
    if (!isBlank(folded[i])) {
      folded[end++] = folded[i++];
      continue;
    }
    int lineEnds = 0;
    for (; i < folded.size() && isBlank(folded[i]); ++i) lineEnds += folded[i] == '\n' ? 1 : 0;
    if (end > 0 && i < folded.size()) folded[end++] = lineEnds > 1 ? '\n' : ' ';
  }
  folded.resize(end);
  return folded;
}

bool hasSearchable(std::string_view text, std::string_view word) {
  if (!isAllASCII(text)) return searchableText(text).contains(word);
  return standsInASCII(text, word, std::min(word.find(' '), word.size()) - 1);
}

std::uint32_t markBit(char byte) {
  constexpr std::string_view marks = R"(!"#$%&'()*+,-./:;<=>?@[\]^_`{|}~)";
  static_assert(marks.size() == 32);
  const std::size_t place = marks.find(byte);
  return place == std::string_view::npos ? 0 : 1U << place;
}

SearchWord::SearchWord(std::string word) : text(std::move(word)) {
  for (std::size_t i = 0; i < text.size();) {
    if (!isTokenByte(text[i])) {
      marks |= markBit(text[i++]);
      continue;
    }
    const std::size_t begin = i;
    while (i < text.size() && isTokenByte(text[i])) ++i;
    std::string piece;
    if (begin > 0) piece += '\n';
    piece.append(text, begin, i - begin);
    if (i < text.size()) piece += '\n';
    pieces.push_back(std::move(piece));
  }
  isSettledByPieces = (pieces.size() == 1 && pieces[0] == text) || text.size() == 1;
  // First what leaves the fewest texts. A last piece that is all of a joint's end tells nothing
  // more.
  std::vector<std::string> joints;
  forEachJoint(text, [&](std::string_view joint) { joints.emplace_back(joint); });
  if (!joints.empty() && text.ends_with(joints.back())) pieces.pop_back();
  pieces.insert(pieces.begin(), joints.begin(), joints.end());
}

TypedWords typedWords(std::string_view text) {
  TypedWords typed;
  for (std::size_t i = 0; i < text.size();) {
    if (isBlank(text[i])) {
      ++i;
      continue;
    }
    const bool isPhrase = text[i] == '"';
    if (isPhrase) ++i;
    const std::size_t begin = i;
    while (i < text.size() && (isPhrase ? text[i] != '"' : !isBlank(text[i]))) ++i;
    std::string word = searchableText(text.substr(begin, i - begin));
    std::ranges::replace(word, '\n', ' ');
    if (isPhrase && i < text.size()) ++i;
    if (word.empty()) continue;
    if (isPhrase || word.front() != '@') {
      addOnce(typed.words, std::move(word));
    } else if (word.size() > 1) {
      addOnce(typed.operators, word.substr(1));
    }
  }
  return typed;
}

}  // namespace vantorel
