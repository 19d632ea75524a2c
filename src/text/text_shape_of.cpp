#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/letter_edges.hpp"
#include "text/picture_text.hpp"

namespace vantorel {
namespace {

/// A piece of a line between wide gaps, in pixels.
struct Cell {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
  std::string text;

  [[nodiscard]] double height() const { return bottom - top; }
};

using Row = std::vector<Cell>;

std::vector<std::string_view> lettersOf(std::string_view text) {
  std::vector<std::string_view> letters;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t end = begin + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) ++end;
    letters.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return letters;
}

/// The gap that no blank between two words has, in heights of the line.
constexpr double columnGap = 1.3;

/// The cells of a line, from left to right.
Row cellsOf(const OCRLine& line, PixelSize picture) {
  const double width = line.box.w * static_cast<double>(picture.width);
  const double height = line.box.h * static_cast<double>(picture.height);
  if (!(width > 0) || !(height > 0)) return {};
  const double left = line.box.x * static_cast<double>(picture.width);
  const double top = line.box.y * static_cast<double>(picture.height);
  Row cells{{left, left + width, top, top + height, ""}};
  const std::vector<double> edges = letterEdges(line, width / height);
  if (edges.empty()) {
    cells.back().text = line.text;
    return cells;
  }
  const std::vector<std::string_view> letters = lettersOf(line.text);
  for (std::size_t i = 0; i < letters.size(); ++i) {
    if (letters[i] == " " && (edges[i + 1] - edges[i]) * width > columnGap * height) {
      cells.back().right = left + edges[i] * width;
      cells.push_back({left + edges[i + 1] * width, left + width, top, top + height, ""});
    } else {
      cells.back().text += letters[i];
    }
  }
  return cells;
}

/// The cells of all lines by how they stand side by side, from top to bottom. Columns are often
/// read as blocks of their own.
std::vector<Row> rowsOf(const std::vector<OCRBlock>& blocks, PixelSize picture) {
  std::vector<Cell> cells;
  for (const OCRBlock& block : blocks) {
    for (const OCRLine& line : block.lines) {
      for (Cell& cell : cellsOf(line, picture)) cells.push_back(std::move(cell));
    }
  }
  const auto middle = [](const Cell& cell) { return (cell.top + cell.bottom) / 2; };
  std::ranges::sort(cells, {}, middle);
  std::vector<Row> rows;
  for (Cell& cell : cells) {
    const bool isBeside =
        !rows.empty() && middle(cell) - middle(rows.back().front()) <
                             0.5 * std::min(cell.height(), rows.back().front().height());
    if (!isBeside) rows.emplace_back();
    rows.back().push_back(std::move(cell));
  }
  for (Row& row : rows) std::ranges::sort(row, {}, &Cell::left);
  return rows;
}

bool isShort(const Cell& cell) {
  return std::ranges::count(cell.text, ' ') < 4 && cell.text.size() < 40;
}

/// Whether a column that `a` is in has `b` in it as well: one of their edges or their middles are
/// in line.
bool isAligned(const Cell& a, const Cell& b) {
  const double slack = 0.5 * std::min(a.height(), b.height());
  return std::abs(a.left - b.left) < slack || std::abs(a.right - b.right) < slack ||
         std::abs((a.left + a.right) - (b.left + b.right)) / 2 < slack;
}

std::size_t alignedCells(const Row& row, const Row& other) {
  return static_cast<std::size_t>(std::ranges::count_if(row, [&](const Cell& cell) {
    return isShort(cell) && std::ranges::any_of(other, [&](const Cell& beside) {
             return isShort(beside) && isAligned(cell, beside);
           });
  }));
}

/// Whether most rows have cells in line with those of a row next to them: of three columns or more,
/// or of two in more rows.
bool isTable(const std::vector<Row>& rows) {
  std::size_t alignedRows = 0;
  std::size_t wideRows = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::size_t aligned = 0;
    if (i > 0) aligned = alignedCells(rows[i], rows[i - 1]);
    if (i + 1 < rows.size()) aligned = std::max(aligned, alignedCells(rows[i], rows[i + 1]));
    if (aligned >= 2) ++alignedRows;
    if (aligned >= 3) ++wideRows;
  }
  const bool isMost = 5 * alignedRows >= 3 * rows.size();
  return isMost && (wideRows >= 3 || alignedRows >= 4);
}

bool endsWithOne(std::string_view text, std::string_view ends) {
  return !text.empty() && ends.contains(text.back());
}

bool beginsWithWord(std::string_view text) {
  static constexpr std::array<std::string_view, 46> words = {
      "#include", "#define", "#!/",       "def",    "class",    "import", "from",    "return",
      "if",       "else",    "elif",      "for",    "while",    "switch", "case",    "const",
      "let",      "var",     "func",      "fn",     "function", "public", "private", "static",
      "struct",   "enum",    "namespace", "using",  "template", "void",   "int",     "auto",
      "export",   "package", "try",       "catch",  "sudo",     "git",    "cd",      "echo",
      "SELECT",   "INSERT",  "UPDATE",    "CREATE", "async",    "await"};
  const std::string_view first = text.substr(0, text.find_first_of(" (:<"));
  return std::ranges::find(words, first) != words.end();
}

/// How much a line looks like a program's or a terminal's: 1 and more is what no prose has.
int marksOf(std::string_view text) {
  int marks = 0;
  if (endsWithOne(text, "{};")) marks += 2;
  if (text == ")" || text == "]" || text == "}," || text == "],") marks += 2;
  static constexpr std::array<std::string_view, 20> operators = {
      "==", "!=", "<=", ">=", "=>", "->", "::", "&&", "||",  "+=",
      "()", "//", "/*", "*/", "</", "/>", "[]", "{}", "\":", ");"};
  for (const std::string_view mark : operators) marks += text.contains(mark) ? 1 : 0;
  // Web addresses have two strokes as well.
  if (text.contains("://")) --marks;
  if (text.contains(" = ")) ++marks;
  // A call: a name with its bracket.
  for (std::size_t at = text.find('('); at != std::string_view::npos; at = text.find('(', at + 1)) {
    const char before = at == 0 ? ' ' : text[at - 1];
    if (std::isalnum(static_cast<unsigned char>(before)) != 0 || before == '_') {
      ++marks;
      break;
    }
  }
  if (beginsWithWord(text) && (marks > 0 || endsWithOne(text, ":{(,"))) ++marks;
  if (text.starts_with("$ ") || text.starts_with("#include") || text.starts_with("#!/")) marks += 2;
  if (text.starts_with("import ") || text.starts_with("- name:")) ++marks;
  return marks;
}

/// Whether the letters of a line are as far from each other as those of a typewriter.
bool isMonospaced(const OCRLine& line, PixelSize picture) {
  const double width = line.box.w * static_cast<double>(picture.width);
  const double height = line.box.h * static_cast<double>(picture.height);
  if (!(width > 0) || !(height > 0) || line.text.size() < 8) return false;
  const std::vector<double> edges = letterEdges(line, width / height);
  if (edges.size() < 9) return false;
  // Ink begins anywhere within a letter's room, so it is the distance over many letters that
  // counts.
  std::vector<double> pitches;
  constexpr std::size_t stride = 6;
  for (std::size_t i = 0; i + stride < edges.size(); ++i) {
    pitches.push_back((edges[i + stride] - edges[i]) * width / stride);
  }
  if (pitches.size() < 3) return false;
  std::ranges::sort(pitches);
  const double median = pitches[pitches.size() / 2];
  const auto near = std::ranges::count_if(
      pitches, [&](double pitch) { return std::abs(pitch - median) < 0.07 * median; });
  return 10 * near >= 9 * static_cast<std::ptrdiff_t>(pitches.size());
}

/// Whether the lines begin at three depths or more that differ by more than noise.
bool isIndented(const std::vector<const OCRLine*>& lines, PixelSize picture) {
  std::vector<double> lefts;
  double height = 0;
  for (const OCRLine* line : lines) {
    lefts.push_back(line->box.x * static_cast<double>(picture.width));
    height += line->box.h * static_cast<double>(picture.height);
  }
  height /= static_cast<double>(lines.size());
  std::ranges::sort(lefts);
  int depths = 1;
  for (std::size_t i = 1; i < lefts.size(); ++i) {
    if (lefts[i] - lefts[i - 1] > 0.7 * height) ++depths;
  }
  return depths >= 3 && 2 * depths <= static_cast<int>(lines.size()) + 2;
}

bool isCode(const std::vector<const OCRLine*>& lines, PixelSize picture) {
  if (lines.empty()) return false;
  std::size_t marked = 0;
  std::size_t strong = 0;
  std::size_t even = 0;
  std::size_t measured = 0;
  for (const OCRLine* line : lines) {
    const int marks = marksOf(line->text);
    if (marks >= 1) ++marked;
    if (marks >= 2) ++strong;
    if (line->text.size() >= 12) {
      ++measured;
      if (isMonospaced(*line, picture)) ++even;
    }
  }
  if (strong == 0 || (strong < 2 && lines.size() > 2)) return false;
  // In hundredths of the lines: what is set like a program needs fewer marks of one.
  std::size_t needed = 50;
  if (measured > 0 && 2 * even > measured) needed -= 20;
  if (isIndented(lines, picture)) needed -= 10;
  return 100 * marked >= needed * lines.size();
}

}  // namespace

TextShape textShapeOf(const std::vector<OCRBlock>& blocks, PixelSize picture) {
  std::vector<const OCRLine*> lines;
  for (const OCRBlock& block : blocks) {
    for (const OCRLine& line : block.lines) lines.push_back(&line);
  }
  if (isCode(lines, picture)) return TextShape::code;
  if (isTable(rowsOf(blocks, picture))) return TextShape::table;
  return TextShape::plain;
}

}  // namespace vantorel
