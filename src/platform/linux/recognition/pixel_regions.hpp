#pragma once

#include <cstdint>
#include <numeric>
#include <vector>

namespace vantorel {

/// Which pixels hang together, as a forest: each pixel or run names another of its region, and the
/// first of a region itself.
class PixelRegions {
 public:
  explicit PixelRegions(std::size_t count) : parents_(count) {
    std::iota(parents_.begin(), parents_.end(), 0U);
  }

  [[nodiscard]] std::uint32_t regionOf(std::uint32_t item) {
    while (parents_[item] != item) {
      parents_[item] = parents_[parents_[item]];
      item = parents_[item];
    }
    return item;
  }

  void join(std::uint32_t a, std::uint32_t b) {
    a = regionOf(a);
    b = regionOf(b);
    if (a < b) {
      parents_[b] = a;
    } else {
      parents_[a] = b;
    }
  }

 private:
  std::vector<std::uint32_t> parents_;
};

}  // namespace vantorel
