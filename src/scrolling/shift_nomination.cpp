#include "scrolling/shift_nomination.hpp"

#include <algorithm>

#include "scrolling/block_profiles.hpp"
#include "scrolling/row_correlation.hpp"

namespace vantorel {
namespace {

constexpr int runRows = 8;
constexpr int sampledRuns = 8;
constexpr float leastTexturedRows = 6;
constexpr float notLooked = -1;

/// The blocks that lie within the span; all of them where none does.
BlockRange comparedBlocks(int width, const ColumnSpan& span) {
  BlockRange range{rowBlocks, 0};
  for (int block = 0; block < rowBlocks; ++block) {
    if (blockStart(width, block) < span.first || blockStart(width, block + 1) > span.last) continue;
    range.first = std::min(range.first, block);
    range.last = block + 1;
  }
  return range.count() < 2 ? BlockRange{} : range;
}

struct Likeness {
  float difference = 0;
  float textured = 0;

  void add(const BlockProfiles& before, const BlockProfiles& now, int y, int offset) {
    std::array<float, runRows> apart{};
    const auto from = static_cast<std::size_t>(y);
    const int counterpart = y + offset;
    const auto there = static_cast<std::size_t>(counterpart);
    for (std::size_t i = 0; i < now.components.size(); ++i) {
      const float* const a = before.components[i].data() + there;
      const float* const b = now.components[i].data() + from;
      for (std::size_t k = 0; k < runRows; ++k) apart[k] += (a[k] - b[k]) * (a[k] - b[k]);
    }
    const float* const a = before.isTextured.data() + there;
    const float* const b = now.isTextured.data() + from;
    for (std::size_t k = 0; k < runRows; ++k) {
      difference += std::min(apart[k], 1.0F);
      textured += std::max(a[k], b[k]);
    }
  }
};

}  // namespace

std::vector<int> nominateShifts(const FramePair& pair, const OffsetRange& range, std::size_t most) {
  if (range.last < range.first) return {};
  const BlockRange blocks = comparedBlocks(pair.current.width, pair.span);
  const BlockProfiles before = blockProfiles(pair.previous.rows, blocks, true);
  const BlockProfiles now = blockProfiles(pair.current.rows, blocks, true);
  std::vector<float> likeness(static_cast<std::size_t>(range.last - range.first + 1), notLooked);
  for (int offset = range.first; offset <= range.last; ++offset) {
    // A side that stands still must not hide a move of one row.
    if (offset == 0) continue;
    const RowRange overlap = pair.overlap(offset);
    const int starts = overlap.length() - runRows + 1;
    if (starts < 1) continue;
    Likeness found;
    const int count = std::min(sampledRuns, (starts + runRows - 1) / runRows);
    for (int i = 0; i < count; ++i) {
      const int y = overlap.first + (count > 1 ? segmentStart(starts - 1, i, count - 1) : 0);
      found.add(before, now, y, offset);
    }
    if (found.textured < leastTexturedRows) continue;
    likeness[static_cast<std::size_t>(offset - range.first)] =
        1 - found.difference / found.textured;
  }
  std::vector<std::size_t> peaks;
  for (std::size_t i = 0; i < likeness.size(); ++i) {
    const float left = i > 0 ? likeness[i - 1] : notLooked;
    const float right = i + 1 < likeness.size() ? likeness[i + 1] : notLooked;
    if (likeness[i] > notLooked && likeness[i] >= left && likeness[i] >= right) peaks.push_back(i);
  }
  std::ranges::stable_sort(peaks, std::ranges::greater{},
                           [&](std::size_t i) { return likeness[i]; });
  if (peaks.size() > most) peaks.resize(most);
  std::vector<int> nominated;
  for (const std::size_t peak : peaks) nominated.push_back(range.first + static_cast<int>(peak));
  return nominated;
}

}  // namespace vantorel
