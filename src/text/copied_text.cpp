#include "text/copied_text.hpp"

namespace vantorel {

std::string copiedText(const std::vector<OCRBlock>& blocks, TextShape shape, bool joinLines) {
  const bool joins = joinLines && shape == TextShape::plain;
  std::string text;
  for (const OCRBlock& block : blocks) {
    if (block.lines.empty()) continue;
    if (!text.empty()) text += "\n\n";
    bool isFirst = true;
    for (const OCRLine& line : block.lines) {
      if (!isFirst && !joins) text += '\n';
      if (!isFirst && joins && !text.ends_with('-')) text += ' ';
      text += line.text;
      isFirst = false;
    }
  }
  return text;
}

}  // namespace vantorel
