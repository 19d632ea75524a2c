#include "base/random_id.hpp"

#include <fmt/format.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/check.hpp"

namespace vantorel {

std::string randomID() {
  std::array<std::uint8_t, 16> b{};
  VT_CHECK(getrandom(b.data(), b.size(), 0) == static_cast<ssize_t>(b.size()));
  b[6] = static_cast<std::uint8_t>((b[6] & 0x0FU) | 0x40U);
  b[8] = static_cast<std::uint8_t>((b[8] & 0x3FU) | 0x80U);
  return fmt::format(
      "{:02X}{:02X}{:02X}{:02X}-{:02X}{:02X}-{:02X}{:02X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:"
      "02X}"
      "{:02X}",
      b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
      b[15]);
}

bool isRandomID(std::string_view text) {
  constexpr std::string_view form = "00000000-0000-0000-0000-000000000000";
  return std::ranges::equal(text, form, [](char letter, char sample) {
    if (sample == '-') return letter == '-';
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'F');
  });
}

}  // namespace vantorel
