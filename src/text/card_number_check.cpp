#include "text/card_number_check.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

constexpr std::size_t fewestDigits = 13;
constexpr std::size_t mostDigits = 19;

/// How many digits the groups have on cards: of most, of American Express, of Diners Club.
const std::vector<std::vector<std::size_t>>& groupings() {
  static const std::vector<std::vector<std::size_t>> known{
      {4, 4, 4, 4}, {4, 6, 5}, {4, 6, 4}, {4, 4, 4, 4, 3}, {16}, {15}, {14}, {13}, {19}};
  return known;
}

/// Cards begin with these.
bool isIssuerDigit(char c) { return c >= '2' && c <= '6'; }

std::vector<TextRange> groupsOf(std::string_view text) {
  std::vector<TextRange> groups;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == ' ' || text[at] == '-') continue;
    const bool continues = at > 0 && text[at - 1] != ' ' && text[at - 1] != '-';
    if (continues) {
      groups.back().end = at + 1;
    } else {
      groups.push_back({at, at + 1});
    }
  }
  return groups;
}

}  // namespace

bool isCardNumber(std::string_view text) {
  std::array<int, mostDigits> digits{};
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint letter = codePointAt(text, at);
    at += letter.length;
    const auto digit = digitValue(letter.value);
    if (!digit) continue;
    if (count == mostDigits) return false;
    digits[count++] = *digit;
  }
  if (count < fewestDigits) return false;
  int sum = 0;
  for (std::size_t index = 0; index < count; ++index) {
    const int digit = digits[count - 1 - index];
    const bool isDoubled = index % 2 == 1;
    sum += !isDoubled ? digit : digit >= 5 ? 2 * digit - 9 : 2 * digit;
  }
  return sum % 10 == 0;
}

std::optional<TextRange> cardNumberWithin(std::string_view text) {
  const std::vector<TextRange> groups = groupsOf(text);
  for (std::size_t first = 0; first < groups.size(); ++first) {
    if (!isIssuerDigit(text[groups[first].begin])) continue;
    for (const std::vector<std::size_t>& grouping : groupings()) {
      if (first + grouping.size() > groups.size()) continue;
      const auto begin = groups.begin() + static_cast<std::ptrdiff_t>(first);
      const bool isGrouped =
          std::ranges::equal(begin, begin + static_cast<std::ptrdiff_t>(grouping.size()),
                             grouping.begin(), grouping.end(), {}, &TextRange::length);
      const TextRange range{begin->begin, groups[first + grouping.size() - 1].end};
      if (isGrouped && isCardNumber(text.substr(range.begin, range.length()))) return range;
    }
  }
  return std::nullopt;
}

std::size_t nextCardNumber(std::string_view match) {
  const std::vector<TextRange> groups = groupsOf(match);
  for (std::size_t i = 1; i < groups.size(); ++i) {
    if (groups[i].length() >= 4) return groups[i].begin;
  }
  return match.size();
}

}  // namespace vantorel
