#include "scrolling/shift_votes.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>

namespace vantorel {
namespace {

constexpr int together = 3;
constexpr std::array<int, 4> lookStarts{0, 2, 4, 5};  // their first blocks
constexpr int leastVotes = 4;
constexpr float texturedSquares = 4;  // of a block's mean about the middle of them

/// 0 for a flat row, which could be anywhere.
std::uint64_t lookOf(const RowDigest& row, int block) {
  const float* const means = row.blocks.data() + block;
  const float middle = (means[0] + means[1] + means[2]) / together;
  float squares = 0;
  std::uint64_t look = static_cast<std::uint64_t>(block) + 1;
  for (int i = 0; i < together; ++i) {
    squares += (means[i] - middle) * (means[i] - middle);
    look = (look ^ std::bit_cast<std::uint32_t>(means[i])) * 0x9E3779B97F4A7C15ULL;
    look ^= look >> 29U;
  }
  return squares < texturedSquares * together ? 0 : look | 1U;
}

/// The looks that begin at each row, one after the other for each first block; 0 where none does.
std::vector<std::uint64_t> beginnings(std::span<const RowDigest> rows,
                                      const std::vector<int>& blocks) {
  std::vector<std::uint64_t> begun(rows.size() * blocks.size());
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    std::uint64_t above = 0;
    for (std::size_t y = 0; y < rows.size(); ++y) {
      const std::uint64_t look = lookOf(rows[y], blocks[i]);
      if (look != above && y > 0) begun[y * blocks.size() + i] = look;
      above = look;
    }
  }
  return begun;
}

/// Where a look begins; rows that continue it do not count. Open addressing: thousands of them are
/// put in for every frame.
class LookTable {
 public:
  explicit LookTable(std::size_t looks)
      : slots_(std::bit_ceil(2 * looks + 1)), mask_(slots_.size() - 1) {}

  struct Slot {
    std::uint64_t look = 0;
    int row = 0;                           // of the previous frame
    std::array<std::uint8_t, 2> counts{};  // in the previous frame and in the new one, 2 for more
  };

  Slot& at(std::uint64_t look) {
    std::size_t i = (look >> 20U) & mask_;
    while (slots_[i].look != 0 && slots_[i].look != look) i = (i + 1) & mask_;
    slots_[i].look = look;
    return slots_[i];
  }

 private:
  std::vector<Slot> slots_;
  std::size_t mask_;
};

}  // namespace

ShiftVotes::ShiftVotes(std::span<const RowDigest> previous, std::span<const RowDigest> current,
                       int width, const ColumnSpan& span)
    : leastOffset_(-static_cast<int>(current.size())),
      tally_(previous.size() + current.size() + 1) {
  std::vector<int> blocks;
  for (const int block : lookStarts) {
    if (blockStart(width, block) >= span.first &&
        blockStart(width, block + together) <= span.last) {
      blocks.push_back(block);
    }
  }
  const std::array frames{previous, current};
  std::array<std::vector<std::uint64_t>, 2> begun;
  std::size_t count = 0;
  for (std::size_t frame = 0; frame < 2; ++frame) {
    begun.at(frame) = beginnings(frames.at(frame), blocks);
    count +=
        begun.at(frame).size() - static_cast<std::size_t>(std::ranges::count(begun.at(frame), 0U));
  }
  LookTable table(count);
  for (std::size_t frame = 0; frame < 2; ++frame) {
    for (std::size_t i = 0; i < begun.at(frame).size(); ++i) {
      const std::uint64_t look = begun.at(frame)[i];
      if (look == 0) continue;
      LookTable::Slot& slot = table.at(look);
      slot.counts.at(frame) = slot.counts.at(frame) == 0 ? 1 : 2;
      if (frame == 0) slot.row = static_cast<int>(i / blocks.size());
    }
  }
  std::array<int, lookStarts.size()> said{};
  for (std::size_t y = 0; y < current.size(); ++y) {
    std::size_t votes = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const std::uint64_t look = begun[1][y * blocks.size() + i];
      if (look == 0) continue;
      const LookTable::Slot& slot = table.at(look);
      if (slot.counts[0] != 1 || slot.counts[1] != 1) continue;
      const int offset = slot.row - static_cast<int>(y);
      const auto end = said.begin() + static_cast<std::ptrdiff_t>(votes);
      if (std::find(said.begin(), end, offset) != end) continue;
      said.at(votes++) = offset;
      ++tally_[static_cast<std::size_t>(offset - leastOffset_)];
    }
  }
}

int ShiftVotes::rowsFor(int offset) const {
  const auto place = static_cast<std::size_t>(offset - leastOffset_);
  return offset >= leastOffset_ && place < tally_.size() ? tally_[place] : 0;
}

std::vector<ShiftVotes::Vote> ShiftVotes::best(std::size_t most) const {
  std::vector<Vote> votes;
  for (std::size_t i = 0; i < tally_.size(); ++i) {
    if (tally_[i] >= leastVotes) votes.push_back({static_cast<int>(i) + leastOffset_, tally_[i]});
  }
  std::ranges::stable_sort(votes, std::ranges::greater{}, &Vote::rows);
  std::vector<Vote> apart;
  for (const Vote& vote : votes) {
    if (apart.size() == most) break;
    // A side that stands still must not hide a move of a row or two.
    const bool isNear = std::ranges::any_of(apart, [&](const Vote& one) {
      return one.offset != 0 && vote.offset != 0 && std::abs(one.offset - vote.offset) <= 2;
    });
    if (!isNear) apart.push_back(vote);
  }
  return apart;
}

}  // namespace vantorel
