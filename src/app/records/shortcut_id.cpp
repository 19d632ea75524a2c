#include "app/records/shortcut_id.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/check.hpp"

namespace vantorel {

std::optional<int> recentNumber(ShortcutID id) {
  if (id == ShortcutID::copyRecent1) return 1;
  if (id >= ShortcutID::copyRecent2)
    return 2 + static_cast<int>(id) - static_cast<int>(ShortcutID::copyRecent2);
  return std::nullopt;
}

std::string title(ShortcutID id) {
  if (const auto number = recentNumber(id)) return fmt::format("Copy recent capture {}", *number);
  const auto found = std::ranges::find(shortcutTable, id, &ShortcutInfo::id);
  VT_CHECK(found != shortcutTable.end());
  return std::string(found->title);
}

std::string_view settingsKey(ShortcutID id) {
  const auto found = std::ranges::find(shortcutTable, id, &ShortcutInfo::id);
  return found == shortcutTable.end() ? std::string_view() : found->settingsKey;
}

}  // namespace vantorel
