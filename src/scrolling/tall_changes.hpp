#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "base/image.hpp"

namespace vantorel {

/// Which state of a growing picture a copy of it has.
struct TallState {
  std::map<int, std::uint64_t> pieces;  ///< the version of each piece, by its number
  std::uint64_t ends = 0;               ///< of what sticks to top and bottom
};

/// Rows of a growing picture as pixels of their own. Rows have numbers, which may be negative.
struct TallStrip {
  int piece = 0;  ///< an earlier strip of the piece is replaced by this one
  int first = 0;  ///< row
  Image rows;
};

/// What a copy lacks of a growing picture.
struct TallChanges {
  int top = 0;     ///< of the picture now, with what sticks to its top
  int bottom = 0;  ///< behind its last row, likewise
  std::vector<TallStrip> strips;
  bool hasEnds = false;         ///< they replace the copy's, which it has none of otherwise
  std::vector<TallStrip> ends;  ///< above and below all pieces; without a piece
  bool isAll = true;            ///< else there is more, to be asked for again
  TallState then;               ///< what the copy has with these

  [[nodiscard]] bool isEmpty() const { return strips.empty() && !hasEnds; }
};

}  // namespace vantorel
