#pragma once

#include <vector>

#include "text/records/picture_reading.hpp"

namespace vantorel {

/// Marks in a line what was read in pictures and ornaments: short, doubtful words, and marks.
/// `confidences` has those of the words, 0 to 1. A long word stays however doubtful it is: it may
/// be a key, and nobody should learn from the text that there was nothing.
void markNoise(ReadLine& line, const std::vector<float>& confidences);

}  // namespace vantorel
