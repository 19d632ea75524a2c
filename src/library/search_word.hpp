#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

/// `text` as searches see it: folded, with one blank for each run of blanks and each end of a line,
/// and an end of a line where a paragraph ends, so that no phrase runs on into the next one.
[[nodiscard]] std::string searchableText(std::string_view text);

/// Whether `searchableText(text)` contains `word`, which is such a text too and not empty. Several
/// times as fast where all is ASCII.
[[nodiscard]] bool hasSearchable(std::string_view text, std::string_view word);

/// Whether a letter belongs to a token, the runs of letters and digits that `TextSegment` knows.
/// All of a letter beyond ASCII does.
[[nodiscard]] constexpr bool isTokenByte(char byte) {
  const auto letter = static_cast<unsigned char>(byte);
  return letter >= 0x80 || (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') ||
         (letter >= 'A' && letter <= 'Z');
}

/// A bit for each mark of ASCII that is neither letter, digit nor blank; 0 of all else.
[[nodiscard]] std::uint32_t markBit(char byte);

/// Calls `use` with what stands where one to three marks join two tokens: them and up to two bytes
/// of each token, the "er/lo" of "/user/local". Those of a part of a text are parts of the text's.
template <class Use>
void forEachJoint(std::string_view searchable, const Use& use) {
  constexpr std::size_t most = 2;
  constexpr std::size_t mostMarks = 3;
  std::size_t tokenBegin = 0;
  std::size_t tokenEnd = 0;
  for (std::size_t i = 0; i < searchable.size();) {
    if (!isTokenByte(searchable[i])) {
      ++i;
      continue;
    }
    const std::size_t begin = i;
    while (i < searchable.size() && isTokenByte(searchable[i])) ++i;
    const std::string_view between = searchable.substr(tokenEnd, begin - tokenEnd);
    if (tokenEnd > tokenBegin && between.size() <= mostMarks &&
        std::ranges::all_of(between, [](char byte) { return markBit(byte) != 0; })) {
      const std::size_t from = tokenEnd - std::min(most, tokenEnd - tokenBegin);
      use(searchable.substr(from, std::min(begin + most, i) - from));
    }
    tokenBegin = begin;
    tokenEnd = i;
  }
}

/// A word that somebody looks for, or a phrase, whose words have one blank between them. It is
/// found anywhere in a text, also inside of its words.
struct SearchWord {
  explicit SearchWord(std::string word);

  std::string text;  ///< as `searchableText` makes it, never empty

  /// Its runs of letters and digits, with an end of a line before each that has to begin a token
  /// and after each that has to end one; and its joints.
  std::vector<std::string> pieces;
  std::uint32_t marks = 0;  ///< the `markBit` of all others it has

  /// Whether a text that has the pieces and the marks has the word.
  bool isSettledByPieces = false;

  bool operator==(const SearchWord& other) const { return text == other.text; }
};

/// The words of what somebody typed. What stands in quotes is one word: a phrase. An end quote that
/// is missing is taken to come at the end.
struct TypedWords {
  std::vector<std::string> words;      ///< folded, each once
  std::vector<std::string> operators;  ///< folded, without the "@" they begin with
};
[[nodiscard]] TypedWords typedWords(std::string_view text);

}  // namespace vantorel
