#include "library/text_segment.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vantorel {
namespace {

constexpr std::size_t bitsOfWord = 64;

bool hasBit(const TextSegment::Bits& bits, std::size_t place) {
  return (bits[place / bitsOfWord] >> (place % bitsOfWord) & 1U) != 0;
}

void setBit(TextSegment::Bits& bits, std::size_t place) {
  bits[place / bitsOfWord] |= std::uint64_t{1} << (place % bitsOfWord);
}

std::size_t countOf(const TextSegment::Bits& bits) {
  std::size_t count = 0;
  for (const std::uint64_t word : bits) count += static_cast<std::size_t>(std::popcount(word));
  return count;
}

template <class Use>
void forEachBit(const TextSegment::Bits& bits, const Use& use) {
  for (std::size_t i = 0; i < bits.size(); ++i) {
    for (std::uint64_t word = bits[i]; word != 0; word &= word - 1) {
      use(i * bitsOfWord + static_cast<std::size_t>(std::countr_zero(word)));
    }
  }
}

/// Where `needle`, which is not empty, stands in `text` from `from` on; its size when nowhere.
/// Several times as fast as what the standard library has for needles of few letters.
std::size_t placeOfNeedle(std::string_view text, std::string_view needle, std::size_t from) {
#ifdef __SSE2__
  constexpr std::size_t step = 16;
  const __m128i first = _mm_set1_epi8(needle.front());
  const __m128i last = _mm_set1_epi8(needle.back());
  const std::size_t reach = needle.size() - 1;
  for (; from + reach + step <= text.size(); from += step) {
    const char* const at = text.data() + from;
    const __m128i begins = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i ends = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + reach));
    const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(begins, first), _mm_cmpeq_epi8(ends, last));
    for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(both)); mask != 0; mask &= mask - 1) {
      const auto place = static_cast<std::size_t>(std::countr_zero(mask));
      if (std::memcmp(at + place, needle.data(), needle.size()) == 0) return from + place;
    }
  }
#endif
  return std::min(text.find(needle, from), text.size());
}

std::size_t bitmapBytes(std::size_t textCount) { return (textCount + 7) / 8; }

void appendList(const std::vector<std::uint16_t>& texts, std::vector<std::uint8_t>& bytes) {
  unsigned before = 0;
  for (const std::uint16_t text : texts) {
    const unsigned step = text - before;
    before = text;
    if (step >= 0x80) bytes.push_back(static_cast<std::uint8_t>(0x80U | step >> 7U));
    bytes.push_back(static_cast<std::uint8_t>(step & 0x7FU));
  }
}

}  // namespace

// Making one.

void TextSegment::Builder::add(std::string_view searchable) {
  const auto text = static_cast<std::uint16_t>(marks_.size());
  std::uint32_t marks = 0;
  const auto addToken = [&](std::string_view token) {
    auto found = texts_.find(token);
    if (found == texts_.end()) found = texts_.emplace(token, std::vector<std::uint16_t>()).first;
    if (found->second.empty() || found->second.back() != text) found->second.push_back(text);
  };
  for (std::size_t i = 0; i < searchable.size();) {
    if (!isTokenByte(searchable[i])) {
      marks |= markBit(searchable[i++]);
      continue;
    }
    const std::size_t begin = i;
    while (i < searchable.size() && isTokenByte(searchable[i])) ++i;
    addToken(searchable.substr(begin, i - begin));
  }
  forEachJoint(searchable, addToken);
  marks_.push_back(marks);
  sizes_.push_back(searchable.size());
}

TextSegment TextSegment::Builder::finish() && {
  using Token = std::pair<const std::string, std::vector<std::uint16_t>>;
  TextSegment segment;
  segment.marks_ = std::move(marks_);
  const std::size_t textCount = segment.size();
  std::vector<const Token*> listed;
  std::vector<std::vector<std::string_view>> rare(textCount);
  std::vector<std::uint8_t> list;
  for (const Token& token : texts_) {
    list.clear();
    appendList(token.second, list);
    // With the places in the two lists of ends.
    const std::size_t asList =
        token.first.size() + 1 + std::min(list.size(), bitmapBytes(textCount)) + 8;
    if (asList < token.second.size() * (token.first.size() + 1)) {
      listed.push_back(&token);
    } else {
      for (const std::uint16_t text : token.second) rare[text].push_back(token.first);
    }
  }
  // The search ends early when all texts have been found: those of the most texts come first.
  std::ranges::sort(listed, [](const Token* a, const Token* b) {
    return std::pair(b->second.size(), std::string_view(a->first)) <
           std::pair(a->second.size(), std::string_view(b->first));
  });
  for (const Token* const token : listed) {
    segment.tokens_ += '\n';
    segment.tokens_ += token->first;
    segment.tokenEnds_.push_back(static_cast<std::uint32_t>(segment.tokens_.size()));
    list.clear();
    appendList(token->second, list);
    if (list.size() >= bitmapBytes(textCount)) {
      list.assign(bitmapBytes(textCount), 0);
      for (const std::uint16_t text : token->second) {
        list[text / 8] = static_cast<std::uint8_t>(list[text / 8] | 1U << (text % 8U));
      }
    }
    segment.lists_.insert(segment.lists_.end(), list.begin(), list.end());
    segment.listEnds_.push_back(static_cast<std::uint32_t>(segment.lists_.size()));
  }
  segment.tokens_ += '\n';
  segment.unknown_.assign((textCount + bitsOfWord - 1) / bitsOfWord, 0);
  for (std::size_t text = 0; text < textCount; ++text) {
    std::size_t rareSize = 0;
    for (const std::string_view token : rare[text]) rareSize += token.size() + 1;
    if (rareSize * 4 > sizes_[text] * 3) {
      setBit(segment.unknown_, text);
      rare[text].clear();
    }
    for (const std::string_view token : rare[text]) {
      segment.rare_ += '\n';
      segment.rare_ += token;
    }
    segment.rareEnds_.push_back(static_cast<std::uint32_t>(segment.rare_.size()));
  }
  segment.rare_ += '\n';
  segment.tokens_.shrink_to_fit();
  segment.tokenEnds_.shrink_to_fit();
  segment.lists_.shrink_to_fit();
  segment.listEnds_.shrink_to_fit();
  segment.rare_.shrink_to_fit();
  segment.rareEnds_.shrink_to_fit();
  segment.marks_.shrink_to_fit();
  return segment;
}

std::size_t TextSegment::bytes() const {
  return sizeof *this + tokens_.capacity() + rare_.capacity() + lists_.capacity() +
         sizeof(std::uint32_t) * (tokenEnds_.capacity() + listEnds_.capacity() +
                                  rareEnds_.capacity() + marks_.capacity()) +
         sizeof(std::uint64_t) * unknown_.capacity();
}

// Searching.

void TextSegment::retain(const SearchWord& word, Bits& texts) const {
  if (word.marks != 0) retainMarks(word.marks, texts);
  for (const std::string& piece : word.pieces) retainPiece(piece, texts);
}

void TextSegment::retainMarks(std::uint32_t marks, Bits& texts) const {
  for (std::size_t text = 0; text < marks_.size(); ++text) {
    if ((marks_[text] & marks) == marks) continue;
    texts[text / bitsOfWord] &= ~(std::uint64_t{1} << (text % bitsOfWord));
  }
}

void TextSegment::retainPiece(std::string_view piece, Bits& texts) const {
  std::size_t left = countOf(texts);
  if (left == 0) return;
  Bits found(texts.size(), 0);
  findInTokens(piece, texts, found, left);
  if (left > 0) findInRare(piece, texts, found, left);
  for (std::size_t i = 0; i < found.size(); ++i) found[i] |= texts[i] & unknown_[i];
  texts = std::move(found);
}

void TextSegment::findInTokens(std::string_view piece, const Bits& wanted, Bits& found,
                               std::size_t& left) const {
  // A token has ends of a line on both sides, which pieces that begin or end one begin or end with.
  const std::size_t lead = piece.front() == '\n' ? 1 : 0;
  std::size_t token = 0;
  for (std::size_t from = 0; left > 0;) {
    const std::size_t place = placeOfNeedle(tokens_, piece, from);
    if (place == tokens_.size()) return;
    const std::size_t inside = place + lead;
    // Most often it is one of the next.
    std::size_t step = 1;
    std::size_t high = token;
    while (high < tokenEnds_.size() && tokenEnds_[high] <= inside) {
      token = high + 1;
      high += step;
      step *= 2;
    }
    const auto end =
        tokenEnds_.begin() + static_cast<std::ptrdiff_t>(std::min(high + 1, tokenEnds_.size()));
    token = static_cast<std::size_t>(
        std::upper_bound(tokenEnds_.begin() + static_cast<std::ptrdiff_t>(token), end,
                         static_cast<std::uint32_t>(inside)) -
        tokenEnds_.begin());
    addTextsOf(token, wanted, found, left);
    from = tokenEnds_[token];
  }
}

void TextSegment::addTextsOf(std::size_t token, const Bits& wanted, Bits& found,
                             std::size_t& left) const {
  const std::size_t begin = token == 0 ? 0 : listEnds_[token - 1];
  const std::size_t end = listEnds_[token];
  if (end - begin == bitmapBytes(size())) {
    for (std::size_t i = begin; i < end; ++i) {
      const std::size_t place = (i - begin) * 8;
      const auto bits = std::uint64_t{lists_[i]} << (place % bitsOfWord);
      found[place / bitsOfWord] |= bits & wanted[place / bitsOfWord];
    }
    left = countOf(wanted) - countOf(found);
    return;
  }
  unsigned text = 0;
  for (std::size_t i = begin; i < end; ++i) {
    unsigned step = lists_[i];
    if (step >= 0x80) step = (step & 0x7FU) << 7U | lists_[++i];
    text += step;
    if (!hasBit(wanted, text) || hasBit(found, text)) continue;
    setBit(found, text);
    --left;
  }
}

void TextSegment::findInRare(std::string_view piece, const Bits& wanted, Bits& found,
                             std::size_t left) const {
  const std::string_view rare = rare_;
  const auto beginOf = [this](std::size_t text) -> std::size_t {
    return text == 0 ? 0 : rareEnds_[text - 1];
  };
  constexpr std::size_t few = 8;
  if (left < size() / few) {
    forEachBit(wanted, [&](std::size_t text) {
      if (hasBit(found, text)) return;
      const std::size_t begin = beginOf(text);
      // With the end of a line that begins the next text's.
      const std::string_view tokens = rare.substr(begin, rareEnds_[text] - begin + 1);
      if (tokens.size() > 1 && placeOfNeedle(tokens, piece, 0) < tokens.size()) setBit(found, text);
    });
    return;
  }
  const std::size_t lead = piece.front() == '\n' ? 1 : 0;
  for (std::size_t from = 0; left > 0;) {
    const std::size_t place = placeOfNeedle(rare, piece, from);
    if (place == rare.size()) return;
    const auto text = static_cast<std::size_t>(
        std::ranges::upper_bound(rareEnds_, static_cast<std::uint32_t>(place + lead)) -
        rareEnds_.begin());
    if (hasBit(wanted, text) && !hasBit(found, text)) {
      setBit(found, text);
      --left;
    }
    from = rareEnds_[text];
  }
}

}  // namespace vantorel
