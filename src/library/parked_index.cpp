#include "library/parked_index.hpp"

#include <fmt/format.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vantorel {

Parking parkIndex(Files& files, const Path& index, std::string_view text) {
  const XXH128_hash_t digest = XXH3_128bits(text.data(), text.size());
  const Path parked = index.parent_path() / fmt::format("{}-{:016x}.unreadable.json",
                                                        index.stem().string(), digest.high64);
  const auto there = files.read(parked, text.size());
  if (there && *there == text) return Parking::alreadyParked;
  return files.replace(parked, text, Privacy::ownerOnly) ? Parking::parked : Parking::failed;
}

}  // namespace vantorel
