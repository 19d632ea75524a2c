#include "editor/text_hits.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>

#include "base/folded_text.hpp"
#include "base/geometry.hpp"
#include "editor/capture_text.hpp"
#include "editor/entry_document.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

constexpr std::string_view ellipsis = "…";

bool isInsideLetter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// A text as searches see it, and where all of it stands in the text.
struct MappedText {
  std::string searchable;
  std::vector<std::uint32_t> begins;  // in the text, of the letter that each byte comes from
  std::vector<std::uint32_t> ends;
};

MappedText mapped(std::string_view text) {
  MappedText map;
  const auto put = [&](std::string_view bytes, std::size_t begin, std::size_t end) {
    map.searchable += bytes;
    map.begins.resize(map.searchable.size(), static_cast<std::uint32_t>(begin));
    map.ends.resize(map.searchable.size(), static_cast<std::uint32_t>(end));
  };
  const auto isBlank = [](char byte) {
    return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F';
  };
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t begin = i;
    if (isBlank(text[i])) {
      int lineEnds = 0;
      for (; i < text.size() && isBlank(text[i]); ++i) lineEnds += text[i] == '\n' ? 1 : 0;
      if (begin > 0 && i < text.size()) put(lineEnds > 1 ? "\n" : " ", begin, i);
      continue;
    }
    ++i;
    while (i < text.size() && isInsideLetter(text[i])) ++i;
    const std::string letter = foldedText(text.substr(begin, i - begin));
    // What is nothing by itself, as an accent is, belongs to the letter before.
    if (letter.empty() && !map.ends.empty()) map.ends.back() = static_cast<std::uint32_t>(i);
    put(letter, begin, i);
  }
  return map;
}

struct Hit {
  TextRange range;  // in the text
  std::size_t word = 0;
};

/// In the order of the text.
std::vector<Hit> hitsIn(std::string_view text, const std::vector<SearchWord>& words) {
  std::vector<Hit> hits;
  const MappedText map = mapped(text);
  for (std::size_t word = 0; word < words.size(); ++word) {
    const std::string& wanted = words[word].text;
    for (std::size_t at = map.searchable.find(wanted); at != std::string::npos;
         at = map.searchable.find(wanted, at + wanted.size())) {
      hits.push_back({{map.begins[at], map.ends[at + wanted.size() - 1]}, word});
    }
  }
  std::ranges::sort(hits, {}, [](const Hit& hit) { return std::pair(hit.range, hit.word); });
  return hits;
}

/// Hits that touch are one.
std::vector<TextRange> merged(const std::vector<Hit>& hits) {
  std::vector<TextRange> ranges;
  for (const Hit& hit : hits) {
    if (!ranges.empty() && hit.range.begin <= ranges.back().end) {
      ranges.back().end = std::max(ranges.back().end, hit.range.end);
    } else {
      ranges.push_back(hit.range);
    }
  }
  return ranges;
}

std::size_t countLetters(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isInsideLetter));
}

/// `count` letters on from `at`, or back from it.
std::size_t lettersOn(std::string_view text, std::size_t at, std::size_t count) {
  for (; count > 0 && at < text.size(); --count) {
    ++at;
    while (at < text.size() && isInsideLetter(text[at])) ++at;
  }
  return at;
}
std::size_t lettersBack(std::string_view text, std::size_t at, std::size_t count) {
  for (; count > 0 && at > 0; --count) {
    --at;
    while (at > 0 && isInsideLetter(text[at])) --at;
  }
  return at;
}

/// What of `line` is shown: `length` letters, of which a third is before the first hit.
TextRange windowOf(std::string_view line, TextRange hit, std::size_t length) {
  if (countLetters(line) <= length) return {0, line.size()};
  std::size_t begin = lettersBack(line, hit.begin, length / 3);
  std::size_t end = lettersOn(line, begin, length);
  if (end == line.size()) begin = lettersBack(line, end, length);
  end = std::max(end, std::min(hit.end, lettersOn(line, hit.begin, length)));
  // Whole words, where they are not longer than all of it.
  if (begin > 0) {
    const std::size_t blank = line.find(' ', begin - 1);
    if (blank < hit.begin) begin = blank + 1;
  }
  if (end < line.size()) {
    const std::size_t blank = line.rfind(' ', end);
    if (blank != std::string_view::npos && blank >= hit.end) end = blank;
  }
  return {begin, end};
}

}  // namespace

TextSnippet textSnippet(const ScreenshotEntry& entry, const std::vector<SearchWord>& words,
                        std::size_t length) {
  if (words.empty()) return {};
  std::string text = captureText(entry);
  const std::vector<Hit> hits = hitsIn(text, words);
  if (hits.empty()) return {};

  // A line is from one line's end to the next, and goes on where a hit does.
  TextRange best;
  std::size_t mostWords = 0;
  for (std::size_t first = 0; first < hits.size();) {
    const std::size_t before = text.rfind('\n', hits[first].range.begin);
    TextRange line{before == std::string::npos ? 0 : before + 1, 0};
    line.end = std::min(text.find('\n', hits[first].range.end), text.size());
    std::vector<bool> has(words.size());
    std::size_t last = first;
    for (; last < hits.size() && hits[last].range.begin < line.end; ++last) {
      has[hits[last].word] = true;
      if (hits[last].range.end > line.end) {
        line.end = std::min(text.find('\n', hits[last].range.end), text.size());
      }
    }
    const auto count = static_cast<std::size_t>(std::ranges::count(has, true));
    if (count > mostWords) {
      mostWords = count;
      best = line;
    }
    first = last;
  }

  std::ranges::replace(text, '\n', ' ');
  std::ranges::replace(text, '\t', ' ');
  while (best.begin < best.end && text[best.begin] == ' ') ++best.begin;
  while (best.begin < best.end && text[best.end - 1] == ' ') --best.end;
  const std::string_view line = std::string_view(text).substr(best.begin, best.length());
  std::vector<TextRange> ranges;
  for (const TextRange& range : merged(hits)) {
    if (range.begin < best.begin || range.begin >= best.end) continue;
    ranges.push_back({range.begin - best.begin, std::min(range.end, best.end) - best.begin});
  }
  const TextRange window = windowOf(line, ranges.front(), length);
  TextSnippet snippet;
  if (window.begin > 0) snippet.text += ellipsis;
  const std::size_t shift = snippet.text.size();
  snippet.text += line.substr(window.begin, window.length());
  if (window.end < line.size()) snippet.text += ellipsis;
  for (const TextRange& range : ranges) {
    const std::size_t begin = std::max(range.begin, window.begin);
    const std::size_t end = std::min(range.end, window.end);
    if (begin < end) {
      snippet.hits.push_back({begin - window.begin + shift, end - window.begin + shift});
    }
  }
  return snippet;
}

std::vector<Box> hitBoxes(const ScreenshotEntry& entry, const std::vector<SearchWord>& words) {
  std::vector<Box> boxes;
  if (words.empty()) return boxes;
  const int width = entry.pixelWidth.value_or(0);
  const int height = entry.pixelHeight.value_or(0);
  const double aspect = width > 0 && height > 0 ? static_cast<double>(width) / height : 16.0 / 9;
  const std::vector<ShownLine> lines = shownLines(entry);
  for (std::size_t first = 0; first < lines.size();) {
    // A phrase may go on in the next line of its block.
    std::string text;
    std::vector<TextRange> places;
    std::size_t last = first;
    for (; last < lines.size() && lines[last].block == lines[first].block; ++last) {
      if (last > first) text += '\n';
      std::string line = lines[last].line->text;
      for (const TextRange& hidden : lines[last].hidden) {
        std::fill(line.begin() + static_cast<std::ptrdiff_t>(hidden.begin),
                  line.begin() + static_cast<std::ptrdiff_t>(hidden.end), ' ');
      }
      places.push_back({text.size(), text.size() + line.size()});
      text += line;
    }
    for (const TextRange& hit : merged(hitsIn(text, words))) {
      for (std::size_t i = first; i < last; ++i) {
        const TextRange& place = places[i - first];
        const std::size_t begin = std::max(hit.begin, place.begin);
        const std::size_t end = std::min(hit.end, place.end);
        if (begin >= end) continue;
        boxes.push_back(boxOf(*lines[i].line, {begin - place.begin, end - place.begin}, aspect,
                              LetterGuess::likely));
      }
    }
    first = last;
  }
  return boxes;
}

std::vector<Box> onShownPicture(const ScreenshotEntry& entry, const std::vector<Box>& boxes) {
  const PixelSize capture{entry.pixelWidth.value_or(0), entry.pixelHeight.value_or(0)};
  const bool isChanged =
      entry.crop || entry.layers || entry.canvas || entry.background || entry.combine;
  if (boxes.empty() || !isChanged) return boxes;
  std::vector<Box> shown;
  if (capture.width <= 0 || capture.height <= 0) return shown;
  const EditorDocument document = documentOf(entry, capture);
  const PixelRect part = shownPart(document, capture);
  const double padding =
      paddingPixels(document.background, {double(part.width), double(part.height)});
  const AxisMap toCanvas = captureToCanvas(document.layers, capture);
  const double width = part.width + 2 * padding;
  const double height = part.height + 2 * padding;
  for (const Box& box : boxes) {
    const Box onCanvas = toCanvas(Box{box.x * capture.width, box.y * capture.height,
                                      box.w * capture.width, box.h * capture.height});
    const double left = std::max(onCanvas.x, double(part.x));
    const double top = std::max(onCanvas.y, double(part.y));
    const double right = std::min(onCanvas.right(), double(part.right()));
    const double bottom = std::min(onCanvas.bottom(), double(part.bottom()));
    if (right <= left || bottom <= top) continue;
    shown.push_back({(left - part.x + padding) / width, (top - part.y + padding) / height,
                     (right - left) / width, (bottom - top) / height});
  }
  return shown;
}

PixelSize shownPictureSize(const ScreenshotEntry& entry) {
  const PixelSize capture{entry.pixelWidth.value_or(0), entry.pixelHeight.value_or(0)};
  const bool isChanged =
      entry.crop || entry.layers || entry.canvas || entry.background || entry.combine;
  if (!isChanged || capture.width <= 0 || capture.height <= 0) return capture;
  const EditorDocument document = documentOf(entry, capture);
  const PixelRect part = shownPart(document, capture);
  const auto padding = static_cast<int>(
      std::lround(paddingPixels(document.background, {double(part.width), double(part.height)})));
  return {part.width + 2 * padding, part.height + 2 * padding};
}

}  // namespace vantorel
