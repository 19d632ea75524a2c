#include "base/area_downscale.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/check.hpp"

namespace vantorel {
namespace {

/// The source pixels one target pixel covers along one axis, with the share of each.
struct Span {
  int first = 0;
  std::vector<float> shares;  ///< adding up to 1
};

std::vector<Span> spans(int from, int to) {
  const double step = static_cast<double>(from) / to;
  std::vector<Span> found;
  for (int target = 0; target < to; ++target) {
    const double start = target * step;
    const double end = std::min<double>(start + step, from);
    Span span{.first = static_cast<int>(start), .shares = {}};
    for (int source = span.first; source < end; ++source) {
      const double covered = std::min<double>(end, source + 1) - std::max<double>(start, source);
      span.shares.push_back(static_cast<float>(covered / step));
    }
    found.push_back(std::move(span));
  }
  return found;
}

}  // namespace

Image downscaled(const Image& image, PixelSize size) {
  VT_CHECK(size.width <= image.width() && size.height <= image.height());
  const std::vector<Span> columns = spans(image.width(), size.width);
  const std::vector<Span> rows = spans(image.height(), size.height);
  MutableImage smaller(size, image.format());
  std::vector<float> sums(static_cast<std::size_t>(image.width()) * 4);
  for (int y = 0; y < size.height; ++y) {
    const Span& span = rows[static_cast<std::size_t>(y)];
    std::ranges::fill(sums, 0.0F);
    for (std::size_t i = 0; i < span.shares.size(); ++i) {
      const auto row = image.row(std::min(span.first + static_cast<int>(i), image.height() - 1));
      const float share = span.shares[i];
      for (std::size_t at = 0; at < sums.size(); ++at) {
        sums[at] += share * static_cast<float>(row[at]);
      }
    }
    std::uint8_t* to = smaller.row(y).data();
    for (const Span& column : columns) {
      for (std::size_t channel = 0; channel < 4; ++channel) {
        float sum = 0.5F;
        std::size_t at = static_cast<std::size_t>(column.first) * 4 + channel;
        for (const float share : column.shares) {
          sum += share * sums[std::min(at, sums.size() - 4 + channel)];
          at += 4;
        }
        *to++ = static_cast<std::uint8_t>(std::min(sum, 255.0F));
      }
    }
  }
  return std::move(smaller).finish();
}

}  // namespace vantorel
