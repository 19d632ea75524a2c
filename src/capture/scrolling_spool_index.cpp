#include "capture/scrolling_spool_index.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::string_view stripPrefix = "rows_";
constexpr std::string_view stripExtension = ".png";

}  // namespace

template <class V, class S>
void ScrollingSpoolIndex::describe(V& v, S& index) {
  v.field("v", index.version);
  v.required("capturedAt", index.capturedAt);
  v.required("record", index.record);
  v.required("width", index.width);
  v.required("top", index.top);
  v.required("bottom", index.bottom);
  v.field("alpha", index.hasAlpha);
  v.required("strips", index.strips);
  v.rest(index.extra);
}
VT_JSON_RECORD(ScrollingSpoolIndex)

std::string SpoolStripName::text() const {
  return fmt::format("{}{}_{}{}", stripPrefix, first, serial, stripExtension);
}

std::optional<SpoolStripName> SpoolStripName::from(std::string_view name) {
  if (!name.starts_with(stripPrefix) || !name.ends_with(stripExtension)) return std::nullopt;
  name.remove_prefix(stripPrefix.size());
  name.remove_suffix(stripExtension.size());
  SpoolStripName strip;
  const char* const end = name.data() + name.size();
  const auto [middle, firstError] = std::from_chars(name.data(), end, strip.first);
  if (firstError != std::errc{} || middle == end || *middle != '_') return std::nullopt;
  const auto [last, serialError] = std::from_chars(middle + 1, end, strip.serial);
  if (serialError != std::errc{} || last != end) return std::nullopt;
  return strip;
}

void removeScrollingSpool(Files& files, const Path& folder) {
  Path over = folder;
  if (!folder.native().ends_with(ScrollingSpoolIndex::overSuffix)) {
    over += ScrollingSpoolIndex::overSuffix;
    const auto renamed = files.moveNew(folder, over);
    if (!renamed && renamed.error().kind == FailureKind::notFound) return;
    if (!renamed) over = folder;
  }
  const auto remove = [&](const Path& path) {
    const auto removed = files.remove(path);
    if (removed || removed.error().kind == FailureKind::notFound) return;
    logWarning("Scrolling", "{} could not be removed: {}", path.string(), removed.error().reason);
  };
  auto items = files.list(over);
  if (!items) return;
  // In a folder that could not be renamed the index is the last to go: strips alone are a session.
  std::ranges::sort(*items, {}, [](const FolderItem& item) {
    return std::pair(!SpoolStripName::from(item.name), item.name);
  });
  for (const FolderItem& item : *items) remove(over / item.name);
  remove(over);
  settleFolder(files, folder.parent_path());
}

}  // namespace vantorel
