#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/search_word.hpp"

namespace vantorel {

/// Tells which of up to 8,192 texts may have a word, without the texts. Takes less memory than they
/// do, however they are made: of each token, and of what stands where two of them join, it keeps
/// the shorter of its list of texts and of itself again for each of them, and of texts that are
/// hardly made of anything but the latter those with lists alone. Never changes; any thread.
class TextSegment {
 public:
  static constexpr std::size_t mostTexts = 8192;

  /// A bit for each text.
  using Bits = std::vector<std::uint64_t>;

  class Builder;

  /// Clears the bits of those of `texts` that do not have all pieces and marks of `word`. Those
  /// that it does not know keep theirs.
  void retain(const SearchWord& word, Bits& texts) const;

  /// Whether it does not know what has no list in this text.
  [[nodiscard]] bool isUnknown(std::size_t text) const {
    return (unknown_[text / 64] >> (text % 64) & 1) != 0;
  }

  [[nodiscard]] std::size_t size() const { return marks_.size(); }

  /// What it takes in memory.
  [[nodiscard]] std::size_t bytes() const;

 private:
  void retainMarks(std::uint32_t marks, Bits& texts) const;
  void retainPiece(std::string_view piece, Bits& texts) const;
  void findInTokens(std::string_view piece, const Bits& wanted, Bits& found,
                    std::size_t& left) const;
  void findInRare(std::string_view piece, const Bits& wanted, Bits& found, std::size_t left) const;
  void addTextsOf(std::size_t token, const Bits& wanted, Bits& found, std::size_t& left) const;

  // Tokens with lists of texts, those of the most texts first, each after an end of a line.
  std::string tokens_;
  std::vector<std::uint32_t> tokenEnds_;  // in `tokens_`
  // Of each token its texts: how far each is from the one before, 7 bits a byte, or a bit for each
  // text where that is shorter.
  std::vector<std::uint8_t> lists_;
  std::vector<std::uint32_t> listEnds_;
  // Tokens without lists, text by text, each after an end of a line.
  std::string rare_;
  std::vector<std::uint32_t> rareEnds_;  // of each text
  std::vector<std::uint32_t> marks_;     // of each text
  Bits unknown_;
};

class TextSegment::Builder {
 public:
  /// `searchable` is what `searchableText` made; at most `mostTexts` of them.
  void add(std::string_view searchable);

  [[nodiscard]] TextSegment finish() &&;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view token) const {
      return std::hash<std::string_view>()(token);
    }
  };
  std::unordered_map<std::string, std::vector<std::uint16_t>, Hash, std::equal_to<>> texts_;
  std::vector<std::uint32_t> marks_;
  std::vector<std::size_t> sizes_;
};

}  // namespace vantorel
