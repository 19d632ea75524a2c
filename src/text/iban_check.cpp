#include "text/iban_check.hpp"

#include <cstddef>
#include <string>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

constexpr std::size_t shortest = 15;

/// `remainder` with one more character behind the number.
std::optional<int> continued(int remainder, char32_t letter) {
  if (const auto digit = digitValue(letter)) return (remainder * 10 + *digit) % 97;
  const char32_t upper = letter >= U'a' && letter <= U'z' ? letter - U'a' + U'A' : letter;
  if (upper < U'A' || upper > U'Z') return std::nullopt;
  return (remainder * 100 + static_cast<int>(upper - U'A') + 10) % 97;
}

}  // namespace

bool isIban(std::string_view text) {
  if (text.size() < shortest) return false;
  std::u32string letters;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint letter = codePointAt(text, at);
    at += letter.length;
    if (letter.value != U' ') letters.push_back(letter.value);
  }
  if (letters.size() < shortest) return false;
  // Country and check digits are counted last.
  letters = letters.substr(4) + letters.substr(0, 4);
  int remainder = 0;
  for (const char32_t letter : letters) {
    const auto next = continued(remainder, letter);
    if (!next) return false;
    remainder = *next;
  }
  return remainder == 1;
}

std::optional<TextRange> ibanWithin(std::string_view text) {
  for (std::size_t end = text.rfind(' '); end != text.npos && end >= shortest;
       end = text.rfind(' ', end - 1)) {
    if (isIban(text.substr(0, end))) return TextRange{0, end};
  }
  return std::nullopt;
}

std::size_t nextIban(std::string_view match) {
  const std::size_t blank = match.find(' ');
  return blank == match.npos ? match.size() : blank;
}

}  // namespace vantorel
