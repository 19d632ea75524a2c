#pragma once

#include <span>
#include <vector>

#include "scrolling/frame_signature.hpp"

namespace vantorel {

/// Blocks [first, last) of 0 to 8.
struct BlockRange {
  int first = 0;
  int last = rowBlocks;

  [[nodiscard]] int count() const { return last - first; }
};

/// What the rows of a frame look like, whatever its width and brightness: one list for each
/// component, in the order of the rows. Rows are alike as far as their components are.
struct BlockProfiles {
  std::vector<std::vector<float>> components;
  std::vector<float> isTextured;  ///< 1 for a row with a profile, 0 for a flat one
};

/// The means of the blocks about their own mean, as a vector of length 1; all 0 for a flat row,
/// whose squares come to less than 4 a block. With `brightness` one component more: a 64th of the
/// row's mean, which tells flat rows apart.
[[nodiscard]] BlockProfiles blockProfiles(std::span<const RowDigest> rows, BlockRange blocks,
                                          bool brightness);

}  // namespace vantorel
