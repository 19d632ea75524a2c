#include "library/preview_name.hpp"

#include <fmt/format.h>

#include "base/json_record.hpp"
#include "library/entry_look.hpp"
#include "library/preview_cache.hpp"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vantorel {
namespace {

std::string hashed(std::string_view text) {
  return fmt::format("{:016x}", XXH3_64bits(text.data(), text.size()));
}

}  // namespace

bool PreviewName::isOne(std::string_view name) {
  if (!name.ends_with(".jpg") && !name.ends_with(".png")) return false;
  name.remove_suffix(4);
  const auto isHash = [](std::string_view part) {
    return part.find_first_not_of("0123456789abcdef") == part.npos;
  };
  constexpr std::size_t digits = 16;
  // Earlier builds wrote one hash of twice the length.
  if (name.size() == 2 * digits) return isHash(name);
  return name.size() == 3 * digits + 2 && name[digits] == '-' && name[2 * digits + 1] == '-' &&
         isHash(name.substr(0, digits)) && isHash(name.substr(digits + 1, digits)) &&
         isHash(name.substr(2 * digits + 2));
}

std::string PreviewName::owner(std::string_view id) { return hashed(id); }

std::string PreviewName::look(const ScreenshotEntry& entry) {
  return owner(entry.id) + "-" + hashed(json::toText(lookOf(entry)));
}

std::string PreviewName::whole(const ScreenshotEntry& entry, const FileStatus& status) {
  return look(entry) + "-" +
         hashed(fmt::format("{}\n{}\n{}x{}", status.size, status.modified, previewSize.width,
                            previewSize.height));
}

}  // namespace vantorel
