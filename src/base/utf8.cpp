#include "base/utf8.hpp"

#include <simdjson.h>

namespace vantorel {
namespace {

/// Length in bytes of the well-formed sequence at the front of `bytes`, 0 when there is none.
/// Table 3-7 of the Unicode Standard, "Well-Formed UTF-8 Byte Sequences".
std::size_t sequenceLength(std::string_view bytes) {
  const auto byte = [&](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
  };
  const auto isTail = [&](std::size_t i, unsigned low = 0x80, unsigned high = 0xBF) {
    return byte(i) >= low && byte(i) <= high;
  };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return isTail(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;
    const unsigned high = lead == 0xED ? 0x9F : 0xBF;
    return isTail(1, low, high) && isTail(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
    return isTail(1, low, high) && isTail(2) && isTail(3) ? 4 : 0;
  }
  return 0;
}

std::string withInPlaceOfOthers(std::string_view replacement, std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    out += length == 0 ? replacement : bytes.substr(0, length);
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return out;
}

}  // namespace

bool isUtf8(std::string_view bytes) { return simdjson::validate_utf8(bytes); }

std::string repairedUtf8(std::string_view bytes) {
  return withInPlaceOfOthers("\xEF\xBF\xBD", bytes);
}

std::string substitutedUtf8(std::string_view bytes) { return withInPlaceOfOthers("\x1A", bytes); }

std::string_view beginningOf(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  // A character has at most three bytes behind its first; more of them are no character's.
  const auto isInside = [&](std::size_t i) {
    return (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
  };
  std::size_t end = most;
  while (end > 0 && most - end < 3 && isInside(end)) --end;
  return text.substr(0, isInside(end) ? most : end);
}

}  // namespace vantorel
