#include "base/plain_name.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Of the Unicode Character Database.

/// White space and controls.
constexpr std::array spaces{
    Range{0, 0x20},        Range{0x7F, 0xA0},     Range{0x1680, 0x1680}, Range{0x2000, 0x200A},
    Range{0x2028, 0x2029}, Range{0x202F, 0x202F}, Range{0x205F, 0x205F}, Range{0x3000, 0x3000},
};

/// Embeddings, overrides and isolates of a direction.
constexpr std::array turns{Range{0x202A, 0x202E}, Range{0x2066, 0x2069}};

/// What shows nothing by itself: marks that combine with a letter, joiners, fillers, variations.
constexpr std::array marks{
    Range{0xAD, 0xAD},     Range{0x300, 0x36F},   Range{0x483, 0x489},     Range{0x61C, 0x61C},
    Range{0x115F, 0x1160}, Range{0x180B, 0x180F}, Range{0x1AB0, 0x1AFF},   Range{0x1DC0, 0x1DFF},
    Range{0x200B, 0x200F}, Range{0x2060, 0x2064}, Range{0x206A, 0x206F},   Range{0x20D0, 0x20FF},
    Range{0x2800, 0x2800}, Range{0x3164, 0x3164}, Range{0xFE00, 0xFE0F},   Range{0xFE20, 0xFE2F},
    Range{0xFEFF, 0xFEFF}, Range{0xFFA0, 0xFFA0}, Range{0xE0000, 0xE0FFF},
};

template <std::size_t size>
bool isIn(const std::array<Range, size>& ranges, char32_t letter) {
  return std::ranges::any_of(
      ranges, [&](const Range& range) { return letter >= range.first && letter <= range.last; });
}

/// The letter at the front of `text` and how many bytes it has. What is no UTF-8 counts as letters
/// that show, a byte each.
std::pair<char32_t, std::size_t> front(std::string_view text) {
  const auto byte = [&](std::size_t i) -> char32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const char32_t lead = byte(0);
  std::size_t length = 1;
  char32_t letter = lead;
  if (lead >= 0xF0 && lead < 0xF8) {
    length = 4;
    letter = lead & 0x07U;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3;
    letter = lead & 0x0FU;
  } else if (lead >= 0xC0 && lead < 0xE0) {
    length = 2;
    letter = lead & 0x1FU;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) return {0xFFFD, 1};
    letter = letter << 6U | (byte(i) & 0x3FU);
  }
  return {lead >= 0x80 && length == 1 ? 0xFFFD : letter, length};
}

}  // namespace

std::string plainName(std::string_view name) {
  std::string plain;
  bool isSeen = false;
  bool isApart = false;  // a space is due before the next letter
  while (!name.empty()) {
    const auto [letter, length] = front(name);
    if (isIn(spaces, letter)) {
      isApart = !plain.empty();
    } else if (!isIn(turns, letter)) {
      if (std::exchange(isApart, false)) plain += ' ';
      plain += name.substr(0, length);
      isSeen = isSeen || !isIn(marks, letter);
    }
    name.remove_prefix(length);
  }
  return isSeen ? plain : std::string();
}

}  // namespace vantorel
