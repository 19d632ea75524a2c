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
