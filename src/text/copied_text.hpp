#pragma once

#include <string>
#include <vector>

#include "text/records/ocr_block.hpp"
#include "text/records/text_shape.hpp"

namespace vantorel {

/// Recognised text for the clipboard: a line for each, with an empty one between blocks. With
/// `joinLines` what ran over several lines of a block becomes one, a blank between them and none
/// behind a hyphen: the next line's first word had no room in the line, and begins no item of a
/// list. Of a table or of code they stay apart, for there they mean something.
[[nodiscard]] std::string copiedText(const std::vector<OCRBlock>& blocks, TextShape shape,
                                     bool joinLines);

}  // namespace vantorel
