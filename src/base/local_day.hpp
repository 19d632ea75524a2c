#pragma once

#include <functional>
#include <string>

namespace vantorel {

/// A day of a calendar in some time zone.
struct LocalDay {
  int year = 1970;
  int month = 1;    ///< 1 to 12
  int day = 1;      ///< 1 to 31
  int weekday = 4;  ///< 0 is Sunday

  double begin = 0;  ///< its midnights, in seconds since 1970-01-01 UTC: 23 to 25 hours apart
  double end = 86400;

  bool operator==(const LocalDay&) const = default;
};

/// The day that a moment, in seconds since 1970-01-01 UTC, falls on.
using DayOf = std::function<LocalDay(double seconds)>;

/// In the time zone of the system.
[[nodiscard]] LocalDay systemDay(double seconds);

/// "Saturday", "November", "21 November", "21 November 2025".
[[nodiscard]] std::string weekdayName(const LocalDay& day);
[[nodiscard]] std::string monthName(const LocalDay& day);
[[nodiscard]] std::string dayAndMonth(const LocalDay& day);
[[nodiscard]] std::string fullDate(const LocalDay& day);

/// How many days `day` is before `today`; negative for later ones.
[[nodiscard]] int daysBefore(const LocalDay& day, const LocalDay& today);

/// The time of day of a moment, "14:05".
[[nodiscard]] std::string clockTime(double seconds, const LocalDay& day);

}  // namespace vantorel
