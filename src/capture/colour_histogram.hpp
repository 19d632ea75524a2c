#pragma once

#include <cstdint>
#include <vector>

#include "base/image.hpp"

namespace vantorel {

/// The pixels of one colour or of colours that lie close together: how many there are, and the sums
/// of their channels, colours multiplied by alpha. A large white screen overflows 32 bits.
struct ColourBucket {
  std::int64_t count = 0;
  std::int64_t r = 0;
  std::int64_t g = 0;
  std::int64_t b = 0;
  std::int64_t a = 0;
};

/// The colours of a picture, exact as long as there are few and gathered more and more coarsely the
/// more there are. Opaque colours never share a bucket with translucent ones.
class ColourHistogram {
 public:
  static constexpr std::size_t maximumBuckets = std::size_t{1} << 15;

  explicit ColourHistogram(const Image& image);

  [[nodiscard]] const std::vector<ColourBucket>& buckets() const { return buckets_; }

  /// The bucket of a pixel of the picture, given as its four bytes in memory order from the low
  /// byte up, alpha 255 where the picture is opaque.
  [[nodiscard]] std::uint32_t bucketOf(std::uint32_t pixel) const;

 private:
  [[nodiscard]] std::uint32_t keyOf(std::uint32_t pixel) const;
  [[nodiscard]] std::size_t slotOf(std::uint32_t key) const;
  void add(std::uint32_t pixel, std::int64_t count);
  void coarsen();

  std::uint32_t mask_ = 0xFFFFFFFF;
  std::vector<std::uint32_t> keys_;  ///< by bucket
  std::vector<ColourBucket> buckets_;
  std::vector<std::uint32_t> slots_;  ///< hash table of bucket numbers plus one
};

}  // namespace vantorel
