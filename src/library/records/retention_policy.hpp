#pragma once

#include <cstdint>
#include <string_view>

#include "base/enum_names.hpp"

namespace vantorel {

/// The age at which entries are moved to the Trash by themselves.
enum class RetentionPolicy { off, week, month, quarter, year };

template <>
inline constexpr auto enumNames<RetentionPolicy> = std::to_array<EnumName<RetentionPolicy>>({
    {RetentionPolicy::off, "off"},
    {RetentionPolicy::week, "week"},
    {RetentionPolicy::month, "month"},
    {RetentionPolicy::quarter, "quarter"},
    {RetentionPolicy::year, "year"},
});

/// 0 (never), 7, 30, 90 or 365.
[[nodiscard]] int daysOf(RetentionPolicy policy);

/// The policy of that many days; `off` for a number that is none.
[[nodiscard]] RetentionPolicy retentionOfDays(std::int64_t days);

/// "Off", "7 days", "30 days", "90 days" or "1 year".
[[nodiscard]] std::string_view displayName(RetentionPolicy policy);

}  // namespace vantorel
