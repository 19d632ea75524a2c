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

// The format: "XSETTINGS, cross toolkit configuration settings", version 0.5.
double factorFromSettings(std::string_view settings) {
  enum : unsigned { number = 0, text = 1, color = 2 };
  const bool isLittle = !settings.empty() && settings[0] == 0;
  std::size_t at = 0;
  const auto read = [&](std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size && at + i < settings.size(); ++i) {
      const std::size_t place = isLittle ? i : size - 1 - i;
      value |= std::uint32_t{static_cast<std::uint8_t>(settings[at + i])} << (8 * place);
    }
    at += size;
    return value;
  };
  const auto skipPadded = [&](std::size_t size) { at += (size + 3) / 4 * 4; };
  at = 8;  // past the byte order and the serial number
  const std::uint32_t count = read(4);
  double factor = 1;
  for (std::uint32_t i = 0; i < count && at < settings.size(); ++i) {
    const std::uint32_t type = read(1);
    ++at;
    const std::uint32_t length = read(2);
    if (at > settings.size()) return 1;
    const std::string_view name = settings.substr(at, length);
    skipPadded(length);
    at += 4;  // the serial number of its last change
    if (name == "Gdk/UnscaledDPI") return 1;
    if (type == number) {
      const std::uint32_t value = read(4);
      const bool isUsable = at <= settings.size() && value >= 1 && value <= 8;
      if (isUsable && name == "Gdk/WindowScalingFactor") factor = value;
    } else if (type == text) {
      skipPadded(read(4));
    } else if (type == color) {
      at += 8;
    } else {
      return 1;
    }
  }
  return factor;
}

}  // namespace vantorel
