#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace vantorel {

struct CodePoint {
  char32_t value = 0;
  std::size_t length = 1;  ///< in bytes
};

/// The character that begins at `at` of a valid UTF-8 text; `at` lies within it.
[[nodiscard]] CodePoint codePointAt(std::string_view text, std::size_t at);

/// The character that ends at `at`, which lies behind the text's beginning.
[[nodiscard]] CodePoint codePointBefore(std::string_view text, std::size_t at);

/// How many characters a valid UTF-8 text has.
[[nodiscard]] std::size_t codePointCount(std::string_view text);

/// The value of a decimal digit of whatever script.
[[nodiscard]] std::optional<int> digitValue(char32_t letter);

[[nodiscard]] constexpr bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }
[[nodiscard]] constexpr bool isAsciiUpper(char c) { return c >= 'A' && c <= 'Z'; }
[[nodiscard]] constexpr bool isAsciiLower(char c) { return c >= 'a' && c <= 'z'; }
[[nodiscard]] constexpr bool isAsciiLetter(char c) { return isAsciiUpper(c) || isAsciiLower(c); }
[[nodiscard]] constexpr bool isAsciiAlnum(char c) { return isAsciiLetter(c) || isAsciiDigit(c); }

/// Chinese, Japanese and Korean, which stand beside Latin words without a blank.
[[nodiscard]] bool isEastAsian(char32_t letter);

/// A letter beyond ASCII as names of hosts and people have it; blanks, marks, punctuation and
/// pictures are none.
[[nodiscard]] bool isForeignLetter(char32_t letter);

}  // namespace vantorel
