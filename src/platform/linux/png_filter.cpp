#include "platform/linux/png_filter.hpp"

#include <cstddef>
#include <cstring>

namespace vantorel {
namespace {

std::uint8_t difference(int value, int predicted) {
  return static_cast<std::uint8_t>(value - predicted);
}

/// The neighbour nearest to left + above - corner, in a form the compiler turns into vectors.
std::uint8_t paeth(std::int16_t left, std::int16_t above, std::int16_t corner) {
  const auto toLeft = static_cast<std::int16_t>(above - corner);
  const auto toAbove = static_cast<std::int16_t>(left - corner);
  const auto toCorner = static_cast<std::int16_t>(toLeft + toAbove);
  const auto farLeft = static_cast<std::int16_t>(toLeft < 0 ? -toLeft : toLeft);
  const auto farAbove = static_cast<std::int16_t>(toAbove < 0 ? -toAbove : toAbove);
  const auto farCorner = static_cast<std::int16_t>(toCorner < 0 ? -toCorner : toCorner);
  const std::int16_t orCorner = farAbove <= farCorner ? above : corner;
  return static_cast<std::uint8_t>(farLeft <= farAbove && farLeft <= farCorner ? left : orCorner);
}

}  // namespace

void filterRow(PNGFilter filter, int bytesPerPixel, std::span<const std::uint8_t> row,
               std::span<const std::uint8_t> above, std::span<std::uint8_t> out) {
  const auto first = static_cast<std::size_t>(bytesPerPixel);
  const std::uint8_t* const now = row.data();
  const std::uint8_t* const before = above.data();
  std::uint8_t* const to = out.data();
  const std::size_t size = out.size();
  switch (filter) {
    case PNGFilter::none: std::memcpy(to, now, size); return;
    case PNGFilter::up:
      for (std::size_t i = 0; i < size; ++i) to[i] = difference(now[i], before[i]);
      return;
    case PNGFilter::paeth:
      for (std::size_t i = 0; i < first; ++i) to[i] = difference(now[i], before[i]);
      for (std::size_t i = first; i < size; ++i) {
        to[i] = difference(now[i], paeth(now[i - first], before[i], before[i - first]));
      }
      return;
  }
}

}  // namespace vantorel
