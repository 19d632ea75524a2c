#include "platform/linux/png_filter.hpp"

#include <array>
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

std::uint8_t sum(int difference, int predicted) {
  return static_cast<std::uint8_t>(difference + predicted);
}

template <std::size_t bytesPerPixel>
void undoPaeth(const std::uint8_t* above, std::uint8_t* row, std::size_t size) {
  std::array<std::uint8_t, bytesPerPixel> left{};
  std::array<std::uint8_t, bytesPerPixel> corner{};
  for (std::size_t i = 0; i < size; i += bytesPerPixel) {
    for (std::size_t channel = 0; channel < bytesPerPixel; ++channel) {
      const std::uint8_t over = above[i + channel];
      left[channel] = sum(row[i + channel], paeth(left[channel], over, corner[channel]));
      corner[channel] = over;
      row[i + channel] = left[channel];
    }
  }
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

void unfilterRow(PNGFilter filter, int bytesPerPixel, std::span<const std::uint8_t> above,
                 std::span<std::uint8_t> row) {
  const std::uint8_t* const before = above.data();
  std::uint8_t* const now = row.data();
  const std::size_t size = row.size();
  switch (filter) {
    case PNGFilter::none: return;
    case PNGFilter::up:
      for (std::size_t i = 0; i < size; ++i) now[i] = sum(now[i], before[i]);
      return;
    case PNGFilter::paeth:
      if (bytesPerPixel == 3) {
        undoPaeth<3>(before, now, size);
      } else {
        undoPaeth<4>(before, now, size);
      }
      return;
  }
}

}  // namespace vantorel
