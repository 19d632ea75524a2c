#include "text/records/text_shape.hpp"

#include <fmt/format.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <bit>
#include <cstdint>

namespace vantorel {
namespace {

void append(std::string& bytes, std::uint32_t word) {
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(word >> shift);
}

}  // namespace

std::string textFingerprint(const std::vector<OCRBlock>& blocks) {
  // Every part is preceded by its length, so that no two texts have the same bytes.
  std::string bytes;
  append(bytes, static_cast<std::uint32_t>(blocks.size()));
  for (const OCRBlock& block : blocks) {
    append(bytes, static_cast<std::uint32_t>(block.lines.size()));
    for (const OCRLine& line : block.lines) {
      append(bytes, static_cast<std::uint32_t>(line.text.size()));
      bytes += line.text;
      for (const float edge : {line.box.x, line.box.y, line.box.w, line.box.h}) {
        // Minus zero is stored as zero.
        append(bytes, std::bit_cast<std::uint32_t>(edge == 0 ? 0.0F : edge));
      }
    }
  }
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return fmt::format("{:016x}{:016x}", hash.high64, hash.low64);
}

}  // namespace vantorel
