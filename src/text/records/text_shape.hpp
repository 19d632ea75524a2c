#pragma once

#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "text/records/ocr_block.hpp"

namespace vantorel {

/// What the recognised text of a capture looks like as a whole.
enum class TextShape { table, code, plain };

template <>
inline constexpr auto enumNames<TextShape> = std::to_array<EnumName<TextShape>>({
    {TextShape::table, "table"},
    {TextShape::code, "code"},
    {TextShape::plain, "plain"},
});

/// Raised when the rules that find a text's shape change: shapes found by older rules are dropped
/// on load and found again.
inline constexpr int textShapeVersion = 4;

/// Names a recognised text with its layout: 32 lower-case hexadecimal digits (XXH3, 128 bits) over
/// the texts and boxes of all lines and how they are grouped; confidence does not count. The same
/// on every machine.
[[nodiscard]] std::string textFingerprint(const std::vector<OCRBlock>& blocks);

}  // namespace vantorel
