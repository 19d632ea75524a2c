#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/local_day.hpp"
#include "library/history_store.hpp"
#include "library/records/retention_policy.hpp"

namespace vantorel {

/// What goes to the Trash by its age next.
struct RetentionOutlook {
  std::size_t count = 0;  ///< captures that reach the age on that day
  LocalDay day;

  bool operator==(const RetentionOutlook&) const = default;
};

/// Nothing when nothing will go. What has reached the age already goes today. `now` in seconds
/// since 1970-01-01 UTC.
[[nodiscard]] std::optional<RetentionOutlook> outlookOf(const HistoryStore& store,
                                                        RetentionPolicy policy, double now,
                                                        const DayOf& dayOf);

/// "14 go to the Trash on Monday".
[[nodiscard]] std::string sentence(const RetentionOutlook& outlook, const LocalDay& today);

}  // namespace vantorel
