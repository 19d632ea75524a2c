#include "capture/blanked_picture.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vantorel {
namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::uint8_t grey = 128;

std::uint8_t* pixelOf(std::span<std::uint8_t> row, int x) {
  return row.data() + static_cast<std::size_t>(x) * bytesPerPixel;
}

/// Fills the pixels from `from` to before `to` with a passage from the left neighbour to the right
/// one; at least one of them is within the row.
void fillRun(std::span<std::uint8_t> row, int from, int to) {
  const int width = static_cast<int>(row.size() / bytesPerPixel);
  const std::uint8_t* const left = pixelOf(row, from > 0 ? from - 1 : to);
  const std::uint8_t* const right = pixelOf(row, to < width ? to : from - 1);
  const int steps = to - from + 1;
  for (int x = from; x < to; ++x) {
    const int share = x - from + 1;
    for (std::size_t part = 0; part < bytesPerPixel; ++part) {
      const int sum = left[part] * (steps - share) + right[part] * share;
      pixelOf(row, x)[part] = static_cast<std::uint8_t>((sum + steps / 2) / steps);
    }
  }
}

/// Fills what is `hidden` of a row; false when that is all of it.
bool fillRow(std::span<std::uint8_t> row, const std::vector<bool>& hidden) {
  const int width = static_cast<int>(hidden.size());
  const auto isHidden = [&](int x) { return hidden[static_cast<std::size_t>(x)]; };
  for (int x = 0; x < width; ++x) {
    if (!isHidden(x)) continue;
    int end = x;
    while (end < width && isHidden(end)) ++end;
    if (x == 0 && end == width) return false;
    fillRun(row, x, end);
    x = end;
  }
  return true;
}

}  // namespace

Image blanked(const Image& image, const std::vector<PixelRect>& areas) {
  MutableImage picture(image.size(), image.format());
  std::vector<int> lost;  // rows hidden from side to side
  std::vector<bool> hidden(static_cast<std::size_t>(image.width()));
  for (int y = 0; y < image.height(); ++y) {
    std::ranges::copy(image.row(y), picture.row(y).begin());
    hidden.assign(hidden.size(), false);
    bool hasHidden = false;
    for (const PixelRect& area : areas) {
      const PixelRect part = intersection(area, {0, y, image.width(), 1});
      if (part.isEmpty()) continue;
      std::fill_n(hidden.begin() + part.x, part.width, true);
      hasHidden = true;
    }
    if (hasHidden && !fillRow(picture.row(y), hidden)) lost.push_back(y);
  }
  // The row above stands by now, unless all down to here are lost: those take the one below.
  const auto isLost = [&](int y) { return std::ranges::binary_search(lost, y); };
  int firstKept = 0;
  while (firstKept < image.height() && isLost(firstKept)) ++firstKept;
  for (const int y : lost) {
    if (firstKept == image.height()) {
      std::ranges::fill(picture.row(y), grey);
      for (int x = 0; x < image.width(); ++x) pixelOf(picture.row(y), x)[3] = 255;
    } else {
      std::ranges::copy(picture.row(y > firstKept ? y - 1 : firstKept), picture.row(y).begin());
    }
  }
  return std::move(picture).finish();
}

}  // namespace vantorel
