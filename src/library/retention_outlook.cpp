#include "library/retention_outlook.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "library/history_retention.hpp"

namespace vantorel {
namespace {

std::string when(const LocalDay& day, const LocalDay& today) {
  const int days = -daysBefore(day, today);
  if (days <= 0) return "today";
  if (days == 1) return "tomorrow";
  if (days < 7) return "on " + weekdayName(day);
  return "on " + (day.year == today.year ? dayAndMonth(day) : fullDate(day));
}

}  // namespace

std::optional<RetentionOutlook> outlookOf(const HistoryStore& store, RetentionPolicy policy,
                                          double now, const DayOf& dayOf) {
  if (policy == RetentionPolicy::off) return std::nullopt;
  constexpr double secondsADay = 86400;
  const double age = daysOf(policy) * secondsADay;
  std::vector<double> times;
  for (const EntryPointer& entry : store.entries()) {
    if (isKeptAtAnyAge(*entry)) continue;
    times.push_back(std::max(lastEditOf(*entry) + age, now));
  }
  if (times.empty()) return std::nullopt;
  const LocalDay day = dayOf(std::ranges::min(times));
  const auto count = std::ranges::count_if(times, [&](double time) { return time < day.end; });
  return RetentionOutlook{static_cast<std::size_t>(count), day};
}

std::string sentence(const RetentionOutlook& outlook, const LocalDay& today) {
  return fmt::format("{} {} to the Trash {}", outlook.count, outlook.count == 1 ? "goes" : "go",
                     when(outlook.day, today));
}

}  // namespace vantorel
