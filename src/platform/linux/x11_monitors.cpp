#include "platform/linux/x11_monitors.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vantorel {

MonitorIdentity monitorIdentity(std::string_view edid) {
  // Four descriptors of 18 bytes from byte 54 on; those of type 0xFC hold the name, ended by a
  // line feed. Source: VESA E-EDID release A.
  MonitorIdentity identity;
  for (std::size_t at = 54; at + 18 <= std::min<std::size_t>(edid.size(), 126); at += 18) {
    const std::string_view descriptor = edid.substr(at, 18);
    if (descriptor.substr(0, 3) != std::string_view("\0\0\0", 3) || descriptor[3] != '\xFC') {
      continue;
    }
    std::string_view text = descriptor.substr(5);
    text = text.substr(0, text.find('\n'));
    const std::size_t last = text.find_last_not_of(' ');
    for (const char c : text.substr(0, last == std::string_view::npos ? 0 : last + 1)) {
      identity.name += c >= ' ' && c <= '~' ? c : '?';
    }
  }
  return identity;
}

std::string uuidOf(std::string_view seed) {
  std::array<std::uint64_t, 2> hash{0xCBF29CE484222325ULL, 0x9AE16A3B2F90404FULL};
  for (auto& half : hash) {
    for (const char c : seed) {
      half = (half ^ static_cast<std::uint8_t>(c)) * 0x100000001B3ULL;
    }
    half ^= half >> 29U;
  }
  const std::uint64_t first = (hash[0] & ~0xF000ULL) | 0x8000ULL;
  const std::uint64_t second = (hash[1] & ~(3ULL << 62U)) | (2ULL << 62U);
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", first >> 32U, first >> 16U & 0xFFFFU,
                     first & 0xFFFFU, second >> 48U, second & 0xFFFFFFFFFFFFULL);
}

double scaleFromResources(std::string_view resources) {
  constexpr std::string_view key = "Xft.dpi:";
  for (std::size_t start = 0; start < resources.size();) {
    const std::size_t end = std::min(resources.find('\n', start), resources.size());
    std::string_view line = resources.substr(start, end - start);
    start = end + 1;
    if (!line.starts_with(key)) continue;
    line.remove_prefix(key.size());
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    double dpi = 0;
    std::from_chars(line.data(), line.data() + line.size(), dpi);
    if (!(dpi > 0)) return 1;
    return std::clamp(std::round(dpi / 96 * 4) / 4, 1.0, 8.0);
  }
  return 1;
}

}  // namespace vantorel
