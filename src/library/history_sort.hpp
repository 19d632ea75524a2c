#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What History is listed by.
struct HistorySort {
  enum class By { taken, title, application, size, kind };
  By by = By::taken;
  bool isAscending = false;

  [[nodiscard]] bool isNewestFirst() const { return by == By::taken && !isAscending; }

  bool operator==(const HistorySort&) const = default;
};

/// How a list is sorted when somebody picks that column while `now` is in use: the other way round
/// when it is by that column already; otherwise texts from A on, the newest and largest first.
[[nodiscard]] HistorySort sortedBy(HistorySort::By by, const HistorySort& now);

/// The order of the first `count` entries, which are the newest first. Those that are the same stay
/// so among themselves; those without what it is sorted by are the last ones either way.
[[nodiscard]] std::vector<std::uint32_t> sortedOrder(
    const HistorySort& sort, std::size_t count,
    const std::function<const ScreenshotEntry&(std::size_t)>& entryAt);

}  // namespace vantorel
