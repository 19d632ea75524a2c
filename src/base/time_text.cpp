#include "base/time_text.hpp"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

namespace vantorel {
namespace {

std::tm localTime(double seconds) {
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm local{};
  // The reentrant call alone keeps the zone of the first one, for as long as the program lives.
  tzset();
  localtime_r(&whole, &local);
  return local;
}

}  // namespace

std::string fileNameTime(double seconds) {
  const std::tm local = localTime(seconds);
  return fmt::format("{:04}-{:02}-{:02} at {:02}.{:02}.{:02}", local.tm_year + 1900,
                     local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

std::string tableTime(double seconds) {
  const std::tm local = localTime(seconds);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

std::string exifTime(double seconds) {
  const std::tm local = localTime(seconds);
  return fmt::format("{:04}:{:02}:{:02} {:02}:{:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

std::optional<double> parseLocalTime(std::string_view text) {
  // What stands before each number, and how many digits it has.
  struct Place {
    std::string_view before;
    std::size_t digits;
  };
  constexpr auto places =
      std::to_array<Place>({{"", 4}, {"-", 2}, {"-", 2}, {" T", 2}, {":", 2}, {":", 2}});
  std::array<int, 6> numbers{};
  std::size_t count = 0;
  for (; count < places.size() && !text.empty(); ++count) {
    const Place& place = places[count];
    if (!place.before.empty()) {
      if (place.before.find(text.front()) == std::string_view::npos) return std::nullopt;
      text.remove_prefix(1);
    }
    const char* const end = text.data() + std::min(place.digits, text.size());
    const auto [stop, error] = std::from_chars(text.data(), end, numbers[count]);
    if (error != std::errc{} || stop != text.data() + place.digits) return std::nullopt;
    text.remove_prefix(place.digits);
  }
  if (!text.empty() || (count != 3 && count != 5 && count != 6)) return std::nullopt;
  std::tm local{};
  local.tm_year = numbers[0] - 1900;
  local.tm_mon = numbers[1] - 1;
  local.tm_mday = numbers[2];
  local.tm_hour = numbers[3];
  local.tm_min = numbers[4];
  local.tm_sec = numbers[5];
  local.tm_isdst = -1;
  const std::tm wanted = local;
  const std::time_t seconds = std::mktime(&local);
  // "2026-02-30" would become a day in March. An hour that a change of the clocks leaves out moves.
  if (local.tm_mon != wanted.tm_mon || local.tm_mday != wanted.tm_mday) return std::nullopt;
  if (wanted.tm_hour > 23 || wanted.tm_min > 59 || wanted.tm_sec > 59) return std::nullopt;
  if (numbers[3] < 0 || numbers[4] < 0 || numbers[5] < 0) return std::nullopt;
  return static_cast<double>(seconds);
}

}  // namespace vantorel
