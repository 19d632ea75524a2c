#include "capture/colour_histogram.hpp"

#include <utility>

#include "capture/pixel_runs.hpp"

namespace vantorel {
namespace {

constexpr int slotBits = 17;  // four times as many slots as buckets

}  // namespace

ColourHistogram::ColourHistogram(const Image& image) : slots_(std::size_t{1} << slotBits) {
  for (int y = 0; y < image.height(); ++y) {
    forEachRun(image, y, [this](std::uint32_t pixel, int length) { add(pixel, length); });
  }
}

std::uint32_t ColourHistogram::bucketOf(std::uint32_t pixel) const {
  return slots_[slotOf(keyOf(pixel))] - 1;
}

std::uint32_t ColourHistogram::keyOf(std::uint32_t pixel) const {
  const std::uint32_t alpha = pixel >> 24;
  if (alpha == 0xFF) return (pixel & mask_) | 0xFF000000;
  if (alpha == 0) return 0;
  const std::uint32_t key = pixel & mask_;
  return key < 0x01000000 ? key | 0x01000000 : key;
}

std::size_t ColourHistogram::slotOf(std::uint32_t key) const {
  std::size_t slot = (key * 0x9E3779B1U) >> (32 - slotBits);
  while (slots_[slot] != 0 && keys_[slots_[slot] - 1] != key) slot = (slot + 1) % slots_.size();
  return slot;
}

void ColourHistogram::add(std::uint32_t pixel, std::int64_t count) {
  std::size_t slot = slotOf(keyOf(pixel));
  while (slots_[slot] == 0 && buckets_.size() == maximumBuckets) {
    coarsen();
    slot = slotOf(keyOf(pixel));
  }
  if (slots_[slot] == 0) {
    keys_.push_back(keyOf(pixel));
    buckets_.emplace_back();
    slots_[slot] = static_cast<std::uint32_t>(buckets_.size());
  }
  ColourBucket& bucket = buckets_[slots_[slot] - 1];
  bucket.count += count;
  bucket.b += count * (pixel & 0xFF);
  bucket.g += count * (pixel >> 8 & 0xFF);
  bucket.r += count * (pixel >> 16 & 0xFF);
  bucket.a += count * (pixel >> 24);
}

/// Forgets one more bit of each channel and joins what has become the same.
void ColourHistogram::coarsen() {
  mask_ &= mask_ << 1 & 0xFEFEFEFE;
  const std::vector<std::uint32_t> oldKeys = std::exchange(keys_, {});
  const std::vector<ColourBucket> oldBuckets = std::exchange(buckets_, {});
  slots_.assign(slots_.size(), 0);
  for (std::size_t i = 0; i < oldKeys.size(); ++i) {
    const std::uint32_t key = keyOf(oldKeys[i]);
    const std::size_t slot = slotOf(key);
    if (slots_[slot] == 0) {
      keys_.push_back(key);
      buckets_.emplace_back();
      slots_[slot] = static_cast<std::uint32_t>(buckets_.size());
    }
    ColourBucket& bucket = buckets_[slots_[slot] - 1];
    bucket.count += oldBuckets[i].count;
    bucket.r += oldBuckets[i].r;
    bucket.g += oldBuckets[i].g;
    bucket.b += oldBuckets[i].b;
    bucket.a += oldBuckets[i].a;
  }
}

}  // namespace vantorel
