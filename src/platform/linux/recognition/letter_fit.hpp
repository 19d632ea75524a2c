#pragma once

#include "platform/linux/recognition/ink_page.hpp"
#include "text/records/picture_reading.hpp"

namespace vantorel {

/// Puts the boxes of a line, its words and its letters, in pixels of `page`, around the ink that
/// they stand for. A recogniser knows about where a letter is; a cover must not leave out any of
/// it. Answers the share of letters that certainly stand as a typewriter writes, 0 to 1.
double fitToInk(const InkPage& page, ReadLine& line);

}  // namespace vantorel
