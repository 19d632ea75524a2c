#include "text/code_points.hpp"

#include <algorithm>
#include <array>

namespace vantorel {
namespace {

/// The zeros of Unicode's decimal digits (general category Nd); nine follow each.
constexpr auto zeros = std::to_array<char32_t>({
    0x30,    0x660,   0x6F0,   0x7C0,   0x966,   0x9E6,   0xA66,   0xAE6,   0xB66,   0xBE6,
    0xC66,   0xCE6,   0xD66,   0xDE6,   0xE50,   0xED0,   0xF20,   0x1040,  0x1090,  0x17E0,
    0x1810,  0x1946,  0x19D0,  0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,
    0xA8D0,  0xA900,  0xA9D0,  0xA9F0,  0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066,
    0x110F0, 0x11136, 0x111D0, 0x112F0, 0x11450, 0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0,
    0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60, 0x16AC0, 0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2,
    0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0,
});
static_assert(std::ranges::is_sorted(zeros));

constexpr bool isTail(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

}  // namespace

CodePoint codePointAt(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
  };
  const char32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xE0) return {(lead & 0x1FU) << 6U | (byte(1) & 0x3FU), 2};
  if (lead < 0xF0) {
    return {(lead & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU), 3};
  }
  return {(lead & 0x07U) << 18U | (byte(1) & 0x3FU) << 12U | (byte(2) & 0x3FU) << 6U |
              (byte(3) & 0x3FU),
          4};
}

CodePoint codePointBefore(std::string_view text, std::size_t at) {
  std::size_t begin = at - 1;
  while (begin > 0 && isTail(text[begin])) --begin;
  return codePointAt(text, begin);
}

std::size_t codePointCount(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

std::optional<int> digitValue(char32_t letter) {
  if (letter < 0x80) {
    if (letter < U'0' || letter > U'9') return std::nullopt;
    return static_cast<int>(letter - U'0');
  }
  const auto* const next = std::ranges::upper_bound(zeros, letter);
  const char32_t value = letter - *(next - 1);
  if (value > 9) return std::nullopt;
  return static_cast<int>(value);
}

bool isEastAsian(char32_t letter) {
  return (letter >= 0x1100 && letter <= 0x11FF) || (letter >= 0x3040 && letter <= 0x312F) ||
         (letter >= 0x3400 && letter <= 0x4DBF) || (letter >= 0x4E00 && letter <= 0x9FFF) ||
         (letter >= 0xAC00 && letter <= 0xD7AF) || (letter >= 0x20000 && letter <= 0x3FFFF);
}

bool isForeignLetter(char32_t letter) {
  if (letter < 0xC0) return letter == 0xAA || letter == 0xB5 || letter == 0xBA;
  if (letter == 0xD7 || letter == 0xF7) return false;
  if (letter < 0x2000) return letter != 0x1680 && letter != 0x180E;
  if (letter < 0x2C00) return false;  // punctuation, symbols, arrows, boxes
  if (letter < 0x2E00) return true;
  if (letter < 0x3005) return false;
  if (letter < 0xE000) return letter != 0x3008 && (letter > 0x3020 || letter < 0x3008);
  if (letter < 0xF900) return false;  // private use
  if (letter < 0xFE00) return true;
  if (letter < 0xFF10) return false;
  if (letter < 0xFF66) return letter < 0xFF5B && (letter < 0xFF1A || letter > 0xFF20);
  if (letter < 0xFFE0) return true;
  return letter >= 0x10000 && (letter < 0x1F000 || letter >= 0x20000);
}

}  // namespace vantorel
