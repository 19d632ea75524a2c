#include "text/copied_text.hpp"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

bool beginsItem(std::string_view line) {
  const std::string_view mark = line.substr(0, line.find(' '));
  if (mark.size() == line.size()) return false;
  if (mark == "*" || mark == "-" || mark == "\u2022" || mark == "\u2013") return true;
  const std::string_view number = mark.substr(0, mark.size() - 1);
  const bool isNumber = !number.empty() && std::ranges::all_of(number, [](char letter) {
    return std::isdigit(static_cast<unsigned char>(letter)) != 0;
  });
  return isNumber && (mark.back() == '.' || mark.back() == ')');
}

/// Whether `line` goes on in `next`: that one's first word had no room before `right`, where the
/// widest line of the block ends.
bool runsOver(const OCRLine& line, const OCRLine& next, float right) {
  if (beginsItem(next.text)) return false;
  if (line.box.w <= 0) return true;
  const float letter =
      line.box.w / static_cast<float>(std::max<std::size_t>(codePointCount(line.text), 1));
  const auto word = codePointCount(std::string_view(next.text).substr(0, next.text.find(' ')));
  return right - (line.box.x + line.box.w) < letter * static_cast<float>(word + 1);
}

}  // namespace

std::string copiedText(const std::vector<OCRBlock>& blocks, TextShape shape, bool joinLines) {
  const bool joins = joinLines && shape == TextShape::plain;
  std::string text;
  for (const OCRBlock& block : blocks) {
    if (block.lines.empty()) continue;
    if (!text.empty()) text += "\n\n";
    float right = 0;
    for (const OCRLine& line : block.lines) right = std::max(right, line.box.x + line.box.w);
    const OCRLine* before = nullptr;
    for (const OCRLine& line : block.lines) {
      if (before != nullptr && !(joins && runsOver(*before, line, right))) {
        text += '\n';
      } else if (before != nullptr && !text.ends_with('-')) {
        text += ' ';
      }
      text += line.text;
      before = &line;
    }
  }
  return text;
}

}  // namespace vantorel
