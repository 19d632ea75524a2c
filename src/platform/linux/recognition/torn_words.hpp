#pragma once

#include <vector>

#include "text/records/picture_reading.hpp"

namespace vantorel {

/// A line whose boxes are those of the ink.
struct FittedLine {
  ReadLine* line = nullptr;
  double even = 0;  ///< the share of letters that certainly stand as a typewriter writes
};

/// Joins words that have no blank between them: a recogniser sees one where type of even widths
/// leaves room beside a colon or an "l". `lines` are those of one page.
void joinTornWords(const std::vector<FittedLine>& lines);

}  // namespace vantorel
