#include "library/history_sort.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

#include "base/folded_text.hpp"
#include "library/entry_title.hpp"
#include "library/history_query.hpp"

namespace vantorel {
namespace {

using By = HistorySort::By;

/// Empty when the entry has none.
std::string keyOf(const ScreenshotEntry& entry, By by) {
  switch (by) {
    case By::taken: return {};
    case By::title: return foldedText(titleOf(entry));
    case By::application: return entry.sourceApp ? foldedText(entry.sourceApp->name) : "";
    case By::size: {
      if (!entry.pixelWidth || !entry.pixelHeight) return {};
      const auto area = static_cast<std::uint64_t>(std::max(0, *entry.pixelWidth)) *
                        static_cast<std::uint64_t>(std::max(0, *entry.pixelHeight));
      return fmt::format("{:020}", area);
    }
    case By::kind: return std::string(kindsLabel(entry.medium));
  }
  std::unreachable();
}

}  // namespace

HistorySort sortedBy(By by, const HistorySort& now) {
  if (now.by == by) return {by, !now.isAscending};
  return {by, by != By::taken && by != By::size};
}

std::vector<std::uint32_t> sortedOrder(
    const HistorySort& sort, std::size_t count,
    const std::function<const ScreenshotEntry&(std::size_t)>& entryAt) {
  std::vector<std::uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0U);
  if (sort.by == By::taken) {
    if (sort.isAscending) std::ranges::reverse(order);
    return order;
  }
  std::vector<std::string> keys;
  keys.reserve(count);
  for (std::size_t i = 0; i < count; ++i) keys.push_back(keyOf(entryAt(i), sort.by));
  std::ranges::stable_sort(order, [&](std::uint32_t one, std::uint32_t other) {
    const std::string& left = keys[one];
    const std::string& right = keys[other];
    if (left.empty() || right.empty()) return !left.empty() && right.empty();
    return sort.isAscending ? left < right : right < left;
  });
  return order;
}

}  // namespace vantorel
