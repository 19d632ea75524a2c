#include "editor/capture_text.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/geometry.hpp"
#include "editor/shape_geometry.hpp"
#include "editor/shape_layers.hpp"
#include "text/edited_reading.hpp"
#include "text/letter_edges.hpp"
#include "text/letter_widths.hpp"

namespace vantorel {
namespace {

bool isLetterStart(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

std::vector<std::size_t> startsOfLetters(std::string_view text) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLetterStart(text[i])) starts.push_back(i);
  }
  starts.push_back(text.size());
  return starts;
}

std::size_t letterAt(const std::vector<std::size_t>& starts, std::size_t byte) {
  return static_cast<std::size_t>(std::ranges::lower_bound(starts, byte) - starts.begin());
}

/// What hides text of a capture: areas of it, and what lies out of its crop.
class HiddenText {
 public:
  explicit HiddenText(const ScreenshotEntry& entry) {
    const bool isRedacted = std::ranges::any_of(
        entry.shapes, [](const Shape& shape) { return shape.type == ShapeType::redact; });
    if (!isRedacted && !entry.crop) return;
    hidesAny_ = true;
    capture_ = {entry.pixelWidth.value_or(0), entry.pixelHeight.value_or(0)};
    if (!isPlaced()) return;
    if (isRedacted) {
      const std::vector<LayerSpec> none;
      areas_ = redactedPixels(entry.shapes, entry.layers ? *entry.layers : none, capture_);
    }
    if (entry.crop) crop_ = *entry.crop;
    hidesAny_ = !areas_.empty() || crop_;
  }

  [[nodiscard]] bool hidesAny() const { return hidesAny_; }

  /// Whether it is known where the text lies.
  [[nodiscard]] bool isPlaced() const { return capture_.width > 0 && capture_.height > 0; }

  /// Whether anything of a box, in fractions of the picture, is hidden.
  [[nodiscard]] bool hidesPartOf(const OCRBox& box) const {
    return hidesAny_ && (!isPlaced() || touches(onCapture({box.x, box.y, box.w, box.h})));
  }

  [[nodiscard]] std::vector<TextRange> wordsOf(const OCRLine& line) const {
    std::vector<TextRange> hidden;
    if (!hidesAny_) return hidden;
    const Box box = onCapture({line.box.x, line.box.y, line.box.w, line.box.h});
    if (!isPlaced() || !(box.w > 0) || !(box.h > 0)) return {{0, line.text.size()}};
    if (!touches(grown(box, box.h))) return hidden;
    const std::string_view text = line.text;
    for (std::size_t end = 0; end < text.size();) {
      const std::size_t begin = text.find_first_not_of(' ', end);
      if (begin == std::string_view::npos) break;
      end = std::min(text.find(' ', begin), text.size());
      if (hides(line, {begin, end})) hidden.push_back({begin, end});
    }
    return hidden;
  }

 private:
  [[nodiscard]] Box onCapture(const Box& fractions) const {
    return {fractions.x * capture_.width, fractions.y * capture_.height,
            fractions.w * capture_.width, fractions.h * capture_.height};
  }

  [[nodiscard]] bool touches(const Box& box) const {
    if (crop_ && !(box.x >= crop_->x && box.right() <= crop_->right() && box.y >= crop_->y &&
                   box.bottom() <= crop_->bottom())) {
      return true;
    }
    return std::ranges::any_of(areas_, [&](const PixelRect& area) { return meets(box, area, 0); });
  }

  /// Whether more of `box` lies in `area` than a rim of that width.
  static bool meets(const Box& box, const PixelRect& area, double rim) {
    return box.x < area.right() && area.x < box.right() && box.y + rim < area.bottom() &&
           area.y < box.bottom() - rim;
  }

  [[nodiscard]] bool hides(const OCRLine& line, TextRange word) const {
    const double aspect = static_cast<double>(capture_.width) / capture_.height;
    Box box = onCapture(boxOf(line, word, aspect, LetterGuess::certain));
    // A redaction of the next line may reach into this one's box, and hides nothing of it.
    const double rim = 0.12 * box.h;
    if (std::ranges::any_of(areas_, [&](const PixelRect& area) { return meets(box, area, rim); })) {
      return true;
    }
    if (!crop_) return false;
    const double width = std::min(box.right(), crop_->right()) - std::max(box.x, crop_->x);
    const double height = std::min(box.bottom(), crop_->bottom()) - std::max(box.y, crop_->y);
    // What is cut in two can be read half.
    return width < box.w / 2 || height < box.h / 2;
  }

  bool hidesAny_ = false;
  PixelSize capture_;
  std::vector<PixelRect> areas_;
  std::optional<Box> crop_;
};

std::vector<ShownLine> linesLeftBy(const HiddenText& hidden, const ScreenshotEntry& entry) {
  std::vector<ShownLine> lines;
  if (!entry.ocrBlocks) return lines;
  for (std::size_t block = 0; block < entry.ocrBlocks->size(); ++block) {
    for (const OCRLine& line : (*entry.ocrBlocks)[block].lines) {
      ShownLine shown{&line, block, hidden.wordsOf(line)};
      if (shown.hidden.empty() || !shown.text().empty()) lines.push_back(std::move(shown));
    }
  }
  return lines;
}

std::string uncorrected(const ScreenshotEntry& entry) {
  if (entry.ocrText) return *entry.ocrText;
  return entry.ocrBlocks ? recognisedText(*entry.ocrBlocks) : std::string();
}

std::string corrected(const ScreenshotEntry& entry) {
  if (!entry.editedText) return uncorrected(entry);
  if (!entry.ocrBlocks) {
    const EditedText& edited = *entry.editedText;
    const bool counts = edited.document && !edited.parked && edited.basis == uncorrected(entry);
    return counts ? *edited.document : uncorrected(entry);
  }
  return EditedReading{.blocks = *entry.ocrBlocks, .edited = *entry.editedText}.text();
}

/// With the lines of each paragraph on one line; a hyphen at a line's end stays one.
std::string joinedLines(std::string_view text) {
  std::string joined;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\n') {
      joined += text[i];
      continue;
    }
    std::size_t count = 0;
    for (; i < text.size() && text[i] == '\n'; ++i) ++count;
    --i;
    if (count > 1) {
      joined.append(count, '\n');
    } else if (!joined.empty() && joined.back() != ' ' && joined.back() != '-') {
      joined += ' ';
    }
  }
  return joined;
}

}  // namespace

std::string ShownLine::text() const {
  if (hidden.empty()) return line->text;
  std::string left;
  std::size_t at = 0;
  const auto put = [&](std::size_t end) {
    for (; at < end; ++at) {
      const bool isBlank = line->text[at] == ' ';
      if (!isBlank || (!left.empty() && left.back() != ' ')) left += line->text[at];
    }
  };
  for (const TextRange& word : hidden) {
    put(word.begin);
    at = word.end;
  }
  put(line->text.size());
  if (left.ends_with(' ')) left.pop_back();
  return left;
}

Box boxOf(const OCRLine& line, TextRange range, double aspect, LetterGuess guess) {
  const std::vector<std::size_t> starts = startsOfLetters(line.text);
  const std::size_t first = letterAt(starts, range.begin);
  const std::size_t last = std::max(letterAt(starts, range.end), first);
  LineStretch stretch;
  const Box& box{line.box.x, line.box.y, line.box.w, line.box.h};
  if (line.box.h > 0) {
    const double lineAspect = aspect * box.w / box.h;
    const std::vector<double> edges = letterEdges(line, lineAspect);
    if (edges.size() == starts.size()) {
      stretch = {edges[first], edges[last]};
    } else if (guess == LetterGuess::likely && starts.size() > 1) {
      const auto count = static_cast<double>(starts.size() - 1);
      stretch = {static_cast<double>(first) / count, static_cast<double>(last) / count};
    } else {
      stretch = widestStretch(line.text, starts, first, last, lineAspect);
    }
  }
  return {box.x + stretch.from * box.w, box.y, (stretch.to - stretch.from) * box.w, box.h};
}

std::vector<ShownLine> shownLines(const ScreenshotEntry& entry) {
  return linesLeftBy(HiddenText(entry), entry);
}

std::string captureText(const ScreenshotEntry& entry) {
  if (!entry.ocrText && !entry.ocrBlocks) return {};
  const HiddenText hidden(entry);
  if (!hidden.hidesAny()) return corrected(entry);
  if (!hidden.isPlaced()) return {};
  const std::vector<ShownLine> lines = linesLeftBy(hidden, entry);
  const std::size_t lineCount = [&] {
    std::size_t count = 0;
    if (!entry.ocrBlocks) return count;
    for (const OCRBlock& block : *entry.ocrBlocks) count += block.lines.size();
    return count;
  }();
  const bool hidesSome =
      lines.size() < lineCount ||
      std::ranges::any_of(lines, [](const ShownLine& line) { return !line.hidden.empty(); });
  if (!hidesSome && lineCount > 0) return corrected(entry);
  EditedDocument document;
  if (entry.ocrBlocks) {
    EditedReading reading{.blocks = *entry.ocrBlocks, .edited = {}};
    if (entry.editedText) reading.edited = *entry.editedText;
    document = reading.document();
  }
  std::string text;
  for (std::size_t i = 0; i < lines.size();) {
    const std::size_t block = lines[i].block;
    std::string left;
    std::size_t count = 0;
    bool isWhole = true;
    for (; i < lines.size() && lines[i].block == block; ++i, ++count) {
      if (count > 0) left += '\n';
      left += lines[i].text();
      isWhole &= lines[i].hidden.empty();
    }
    isWhole &= count == (*entry.ocrBlocks)[block].lines.size();
    if (!text.empty()) text += "\n\n";
    text += isWhole ? document.pieces[block].text : left;
  }
  return text;
}

std::string_view captureTextIn(const ScreenshotEntry& entry, std::string& room) {
  if (entry.ocrText && !entry.editedText && !HiddenText(entry).hidesAny()) return *entry.ocrText;
  room = captureText(entry);
  return room;
}

ScreenshotEntry withShownText(const ScreenshotEntry& entry) {
  const HiddenText hidden(entry);
  ScreenshotEntry shown = entry;
  if (!hidden.hidesAny()) return shown;
  if (entry.ocrText) shown.ocrText = captureText(entry);
  if (shown.ocrBlocks) {
    // Blocks are named by their places.
    for (OCRBlock& block : *shown.ocrBlocks) block.lines.clear();
    for (const ShownLine& left : linesLeftBy(hidden, entry)) {
      OCRLine line = *left.line;
      if (!left.hidden.empty()) {
        line.text = left.text();
        line.letters.clear();
      }
      (*shown.ocrBlocks)[left.block].lines.push_back(std::move(line));
    }
  }
  shown.editedText.reset();
  shown.translations.reset();
  shown.textShape.reset();
  if (shown.codes) {
    std::erase_if(*shown.codes,
                  [&](const DetectedCode& code) { return hidden.hidesPartOf(code.box); });
  }
  return shown;
}

std::string copiedCaptureText(const ScreenshotEntry& entry, bool joinsLines) {
  const bool joins = joinsLines && entry.textShape.value_or(TextShape::plain) == TextShape::plain;
  std::string text = captureText(entry);
  return joins ? joinedLines(text) : text;
}

}  // namespace vantorel
