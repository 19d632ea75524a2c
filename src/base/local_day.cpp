#include "base/local_day.hpp"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <string_view>

namespace vantorel {
namespace {

constexpr std::array<std::string_view, 7> weekdays{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 12> months{"January",   "February", "March",    "April",
                                                  "May",       "June",     "July",     "August",
                                                  "September", "October",  "November", "December"};

std::chrono::sys_days calendarDay(const LocalDay& day) {
  using namespace std::chrono;
  return sys_days(year(day.year) / month(static_cast<unsigned>(day.month)) /
                  std::chrono::day(static_cast<unsigned>(day.day)));
}

}  // namespace

LocalDay systemDay(double seconds) {
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm local{};
  // The reentrant call alone keeps the zone of the first one, for as long as the program lives.
  tzset();
  localtime_r(&whole, &local);
  const auto midnight = [&](int later) {
    std::tm at{};
    at.tm_year = local.tm_year;
    at.tm_mon = local.tm_mon;
    at.tm_mday = local.tm_mday + later;
    at.tm_isdst = -1;
    return static_cast<double>(std::mktime(&at));
  };
  return {.year = local.tm_year + 1900,
          .month = local.tm_mon + 1,
          .day = local.tm_mday,
          .weekday = local.tm_wday,
          .begin = midnight(0),
          .end = midnight(1)};
}

std::string weekdayName(const LocalDay& day) {
  return std::string(weekdays.at(static_cast<std::size_t>(day.weekday)));
}

std::string monthName(const LocalDay& day) {
  return std::string(months.at(static_cast<std::size_t>(day.month - 1)));
}

std::string dayAndMonth(const LocalDay& day) {
  return fmt::format("{} {}", day.day, monthName(day));
}

std::string fullDate(const LocalDay& day) {
  return fmt::format("{} {}", dayAndMonth(day), day.year);
}

int daysBefore(const LocalDay& day, const LocalDay& today) {
  return static_cast<int>((calendarDay(today) - calendarDay(day)).count());
}

std::string clockTime(double seconds, const LocalDay& day) {
  const auto minutes = static_cast<int>(std::floor((seconds - day.begin) / 60));
  // A day on which the clocks change has another hour at the same distance from its midnight.
  if (day.end - day.begin == 86400) return fmt::format("{:02}:{:02}", minutes / 60, minutes % 60);
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm local{};
  localtime_r(&whole, &local);
  return fmt::format("{:02}:{:02}", local.tm_hour, local.tm_min);
}

}  // namespace vantorel
