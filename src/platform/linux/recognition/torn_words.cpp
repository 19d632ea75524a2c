#include "platform/linux/recognition/torn_words.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

namespace vantorel {
namespace {

using Words = std::vector<ReadWord>;

/// The room beside the letters at both ends of a word of type of even widths, in letters.
constexpr double bearing = 0.15;

double letterTotal(const ReadWord& word) { return static_cast<double>(word.letters.size()); }

double middleOf(const PixelRect& box) { return box.x + box.width / 2.0; }

double pitchOf(const ReadWord& word) { return word.box.width / (letterTotal(word) - bearing); }

/// By how much the distances between words differ from whole numbers of letters, each; and how many
/// distances there are.
std::pair<double, int> offGrid(const Words& words, double pitch) {
  double off = 0;
  int pairs = 0;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const double between = middleOf(words[i].box) - middleOf(words[i - 1].box);
    const double blanks = between / pitch - (letterTotal(words[i]) + letterTotal(words[i - 1])) / 2;
    off += std::abs(blanks - std::round(blanks));
    ++pairs;
  }
  return {pairs == 0 ? 0 : off / pairs, pairs};
}

/// The distance of letters when the line is in type of even widths. Otherwise 0, and in a line of
/// few letters.
double pitchIn(const Words& words, double evenShare) {
  std::vector<double> pitches;
  for (const ReadWord& word : words) {
    if (word.letters.size() < 4) continue;
    // Each letter has its say.
    pitches.insert(pitches.end(), word.letters.size(), pitchOf(word));
  }
  const auto letters = static_cast<double>(pitches.size());
  if (letters < 8 || evenShare < 0.6) return 0;
  std::ranges::sort(pitches);
  const double pitch = pitches[pitches.size() / 2];
  double near = 0;
  for (const ReadWord& word : words) {
    if (word.letters.size() < 4) continue;
    if (std::abs(pitchOf(word) / pitch - 1) <= 0.03 + 0.3 / letterTotal(word)) {
      near += letterTotal(word);
    }
  }
  if (near < 0.8 * letters) return 0;
  const auto [off, pairs] = offGrid(words, pitch);
  return (pairs >= 3 ? off <= 0.18 : letters >= 14 && off <= 0.22) ? pitch : 0;
}

/// The distance of letters in a line of a page where `pitches` are usual, in order.
double pitchAmong(const Words& words, const std::vector<double>& pitches) {
  double width = 0;
  double letters = 0;
  for (const ReadWord& word : words) {
    width += word.box.width;
    letters += letterTotal(word);
  }
  constexpr double telling = 8;
  if (letters < telling) return 0;
  const double own = width / (letters - bearing * static_cast<double>(words.size()));
  // A letter more or less was read.
  const double slack = own * (0.05 + 1 / letters);
  const auto from = std::ranges::lower_bound(pitches, own - slack);
  const auto to = std::ranges::upper_bound(pitches, own + slack);
  constexpr std::ptrdiff_t usual = 3;  // lines
  return to - from < usual ? 0 : *(from + (to - from) / 2);
}

/// "fi" stands as one sign in many fonts, and is read as a word of its own.
bool isLigature(const ReadWord& word, std::size_t first) {
  std::string text;
  for (std::size_t i = first; i < word.letters.size(); ++i) text += word.letters[i].text;
  return text == "fi" || text == "fl" || text == "ff" || text == "\uFB01" || text == "\uFB02";
}

bool isSmallBeside(const ReadWord& before, const ReadWord& behind) {
  const auto isSmall = [](const ReadLetter& letter) {
    return letter.text.front() >= 'a' && letter.text.front() <= 'z';
  };
  return isSmall(before.letters.back()) && isSmall(behind.letters.front());
}

void join(ReadLine& line, double pitch) {
  // Narrower than any font's blank, also that of a font of uneven widths taken for an even one.
  const double least = line.box.height >= 9 ? 2.5 : 1.5;
  const double blank = std::max(least, pitch > 0 ? 0.52 * pitch : 0.16 * line.box.height);
  Words joined;
  std::size_t lastPart = 0;  // where what was joined last begins
  for (ReadWord& word : line.words) {
    const bool isSpill = !joined.empty() &&
                         (isLigature(word, 0) || isLigature(joined.back(), lastPart)) &&
                         isSmallBeside(joined.back(), word);
    const double room = isSpill ? std::max(blank, 0.45 * line.box.height) : blank;
    const int gap = joined.empty() ? 0 : word.box.x - joined.back().box.right();
    const bool isUnread = word.letters.front().text == unreadLetter ||
                          (!joined.empty() && joined.back().letters.back().text == unreadLetter);
    if (joined.empty() || isUnread || gap >= room || gap < -room) {
      joined.push_back(std::move(word));
      lastPart = 0;
      continue;
    }
    lastPart = joined.back().letters.size();
    ReadWord& target = joined.back();
    const int top = std::min(target.box.y, word.box.y);
    const int bottom = std::max(target.box.bottom(), word.box.bottom());
    target.box = {target.box.x, top, word.box.right() - target.box.x, bottom - top};
    target.isNoise = target.isNoise && word.isNoise;
    std::ranges::move(word.letters, std::back_inserter(target.letters));
  }
  line.words = std::move(joined);
}

}  // namespace

void joinTornWords(const std::vector<FittedLine>& lines) {
  std::vector<double> own;
  std::vector<double> pitches;
  for (const FittedLine& fitted : lines) {
    own.push_back(pitchIn(fitted.line->words, fitted.even));
    if (own.back() > 0) pitches.push_back(own.back());
  }
  std::ranges::sort(pitches);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    ReadLine& line = *lines[i].line;
    join(line, own[i] > 0 ? own[i] : pitchAmong(line.words, pitches));
  }
}

}  // namespace vantorel
