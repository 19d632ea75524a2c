#include "scrolling/shift_votes.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <utility>

namespace vantorel {
namespace {

constexpr int together = 3;
constexpr std::size_t mostPlaces = 4;
constexpr float leastRows = 4;
constexpr float texturedSquares = 4;  // of a block's mean about the middle of them

struct KeyedRow {
  std::uint64_t key = 0;
  int row = 0;
};

/// 0 for a flat row, which could be anywhere.
std::uint64_t keyOf(const RowDigest& row, int block) {
  const auto at = [&](int i) { return row.blocks.at(static_cast<std::size_t>(block + i)); };
  const float middle = (at(0) + at(1) + at(2)) / together;
  float squares = 0;
  std::uint64_t key = 0;
  for (int i = 0; i < together; ++i) {
    squares += (at(i) - middle) * (at(i) - middle);
    key = (key ^ std::bit_cast<std::uint32_t>(at(i))) * 0x9E3779B97F4A7C15ULL;
    key ^= key >> 29U;
  }
  return squares < texturedSquares * together ? 0 : std::max<std::uint64_t>(key, 1);
}

std::vector<KeyedRow> keyedRows(const FrameSignature& frame, int block) {
  std::vector<KeyedRow> keyed;
  keyed.reserve(frame.rows.size());
  for (std::size_t y = 0; y < frame.rows.size(); ++y) {
    const std::uint64_t key = keyOf(frame.rows[y], block);
    if (key != 0) keyed.push_back({key, static_cast<int>(y)});
  }
  return keyed;
}

}  // namespace

std::vector<ShiftVote> shiftVotes(const FrameSignature& previous, const FrameSignature& current,
                                  const ColumnSpan& span, std::size_t most) {
  const int furthest = current.height;
  std::vector<float> tally(static_cast<std::size_t>(2 * furthest + 1));
  for (int block = 0; block + together <= rowBlocks; ++block) {
    if (blockStart(current.width, block) < span.first ||
        blockStart(current.width, block + together) > span.last) {
      continue;
    }
    std::vector<KeyedRow> known = keyedRows(previous, block);
    std::ranges::sort(known, {}, &KeyedRow::key);
    for (const KeyedRow& row : keyedRows(current, block)) {
      const auto places = std::ranges::equal_range(known, row.key, {}, &KeyedRow::key);
      const auto count = static_cast<std::size_t>(places.size());
      if (count == 0 || count > mostPlaces) continue;
      for (const KeyedRow& place : places) {
        tally[static_cast<std::size_t>(place.row - row.row + furthest)] +=
            1 / static_cast<float>(count);
      }
    }
  }
  std::vector<ShiftVote> votes;
  for (std::size_t i = 0; i < tally.size(); ++i) {
    if (tally[i] >= leastRows) votes.push_back({static_cast<int>(i) - furthest, tally[i]});
  }
  std::ranges::stable_sort(votes, std::ranges::greater{}, &ShiftVote::rows);
  std::vector<ShiftVote> apart;
  for (const ShiftVote& vote : votes) {
    if (apart.size() == most) break;
    const bool isNear = std::ranges::any_of(
        apart, [&](const ShiftVote& one) { return std::abs(one.offset - vote.offset) <= 2; });
    if (!isNear) apart.push_back(vote);
  }
  return apart;
}

}  // namespace vantorel
