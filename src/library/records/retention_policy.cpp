#include "library/records/retention_policy.hpp"

#include <utility>

namespace vantorel {

int daysOf(RetentionPolicy policy) {
  switch (policy) {
    case RetentionPolicy::off: return 0;
    case RetentionPolicy::week: return 7;
    case RetentionPolicy::month: return 30;
    case RetentionPolicy::quarter: return 90;
    case RetentionPolicy::year: return 365;
  }
  std::unreachable();
}

RetentionPolicy retentionOfDays(std::int64_t days) {
  for (const auto& entry : enumNames<RetentionPolicy>) {
    if (daysOf(entry.value) == days) return entry.value;
  }
  return RetentionPolicy::off;
}

std::string_view displayName(RetentionPolicy policy) {
  switch (policy) {
    case RetentionPolicy::off: return "Off";
    case RetentionPolicy::week: return "7 days";
    case RetentionPolicy::month: return "30 days";
    case RetentionPolicy::quarter: return "90 days";
    case RetentionPolicy::year: return "1 year";
  }
  std::unreachable();
}

}  // namespace vantorel
