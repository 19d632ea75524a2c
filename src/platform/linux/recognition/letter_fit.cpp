#include "platform/linux/recognition/letter_fit.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "text/letter_widths.hpp"

namespace vantorel {
namespace {

/// What of the soft edge of a letter belongs to it.
constexpr int edgeInk = 40;

struct Span {
  int begin = 0;
  int end = 0;  ///< not included

  [[nodiscard]] int length() const { return end - begin; }
};

class LineInk {
 public:
  LineInk(const InkPage& page, const ReadLine& line) : page_(page) {
    rows_ = {std::clamp(line.box.y, 0, page.size.height),
             std::clamp(line.box.bottom(), 0, page.size.height)};
    columns_ = {std::clamp(line.box.x, 0, page.size.width),
                std::clamp(line.box.right(), 0, page.size.width)};
    // Boxes cut a descender now and then. Ink above and below that hangs together with the line's
    // is the line's, up to where the next one may begin.
    const int reach = std::max(rows_.length() / 4, 2);
    const Span boxed = rows_;
    while (rows_.begin > 0 && boxed.begin - rows_.begin < reach && hasInkInRow(rows_.begin - 1)) {
      --rows_.begin;
    }
    while (rows_.end < page.size.height && rows_.end - boxed.end < reach &&
           hasInkInRow(rows_.end)) {
      ++rows_.end;
    }
    while (rows_.length() > 1 && !hasInkInRow(rows_.begin)) ++rows_.begin;
    while (rows_.length() > 1 && !hasInkInRow(rows_.end - 1)) --rows_.end;
  }

  [[nodiscard]] Span rows() const { return rows_; }

  /// The ink in a column of the line, 255 for each black pixel.
  [[nodiscard]] int inkIn(int column) const {
    int sum = 0;
    for (int y = rows_.begin; y < rows_.end; ++y) sum += page_.at(column, y);
    return sum;
  }

  [[nodiscard]] bool hasInk(int column) const {
    for (int y = rows_.begin; y < rows_.end; ++y) {
      if (page_.at(column, y) >= edgeInk) return true;
    }
    return false;
  }

  /// The box of the ink in `columns`; empty when there is none.
  [[nodiscard]] PixelRect inkBox(Span columns) const {
    while (columns.length() > 0 && !hasInk(columns.begin)) ++columns.begin;
    while (columns.length() > 0 && !hasInk(columns.end - 1)) --columns.end;
    if (columns.length() <= 0) return {};
    Span rows = rows_;
    const auto isEmptyRow = [&](int y) {
      for (int x = columns.begin; x < columns.end; ++x) {
        if (page_.at(x, y) >= edgeInk) return false;
      }
      return true;
    };
    while (rows.length() > 1 && isEmptyRow(rows.begin)) ++rows.begin;
    while (rows.length() > 1 && isEmptyRow(rows.end - 1)) --rows.end;
    return {columns.begin, rows.begin, columns.length(), rows.length()};
  }

 private:
  [[nodiscard]] bool hasInkInRow(int y) const {
    for (int x = columns_.begin; x < columns_.end; ++x) {
      if (page_.at(x, y) >= edgeInk) return true;
    }
    return false;
  }

  const InkPage& page_;
  Span rows_;
  Span columns_;
};

/// One way to part a word into its letters.
struct Parting {
  std::vector<int> cuts;  ///< where they begin, and the end of the last
  double cost = 0;
  bool isEven = true;      ///< as a typewriter writes
  bool isCertain = false;  ///< the other way is much worse
};

/// Parts the columns of `span` into stretches that are about as wide as `widths` say, where there
/// is the least ink between them. The recogniser's own places are off by as much as a letter.
Parting parted(const std::vector<double>& widths, Span span, const LineInk& ink) {
  constexpr double inkCost = 5;
  const std::size_t count = widths.size();
  const auto columns = static_cast<std::size_t>(span.length()) + 1;
  const double whole = std::accumulate(widths.begin(), widths.end(), 0.0);
  const double pixels = static_cast<double>(span.length()) / whole;
  const double pitch =
      std::max(static_cast<double>(span.length()) / static_cast<double>(count), 2.0);
  std::vector<double> marks(columns, 0);
  for (std::size_t c = 1; c + 1 < columns; ++c) {
    marks[c] =
        inkCost * ink.inkIn(span.begin + static_cast<int>(c)) / (255.0 * ink.rows().length());
  }
  const double infinite = std::numeric_limits<double>::infinity();
  std::vector<double> reached(columns, infinite);
  reached[0] = 0;
  std::vector<std::vector<std::uint32_t>> from;
  double place = 0;
  for (const double width : widths) {
    const double wanted = width * pixels;
    place += wanted;
    std::vector<double> next(columns, infinite);
    std::vector<std::uint32_t> chosen(columns, 0);
    // No letter is farther from its place than this.
    const auto reach = static_cast<std::ptrdiff_t>(3 * pitch + 3);
    const auto middle = static_cast<std::ptrdiff_t>(place);
    const auto last = static_cast<std::ptrdiff_t>(columns) - 1;
    for (auto c = std::max<std::ptrdiff_t>(middle - reach, 1); c <= std::min(middle + reach, last);
         ++c) {
      const auto widest = static_cast<std::ptrdiff_t>(wanted + pitch + 2);
      for (auto before = std::max<std::ptrdiff_t>(c - widest, 0); before < c; ++before) {
        const double off = (static_cast<double>(c - before) - wanted) / pitch;
        const double cost = reached[static_cast<std::size_t>(before)] + off * off;
        if (cost < next[static_cast<std::size_t>(c)]) {
          next[static_cast<std::size_t>(c)] = cost;
          chosen[static_cast<std::size_t>(c)] = static_cast<std::uint32_t>(before);
        }
      }
      next[static_cast<std::size_t>(c)] += marks[static_cast<std::size_t>(c)];
    }
    reached = std::move(next);
    from.push_back(std::move(chosen));
  }
  Parting parting{std::vector<int>(count + 1), reached.back()};
  auto at = static_cast<std::uint32_t>(columns - 1);
  for (std::size_t i = count; i > 0; --i) {
    parting.cuts[i] = span.begin + static_cast<int>(at);
    at = from[i - 1][at];
  }
  parting.cuts[0] = span.begin;
  return parting;
}

/// Parts a word as a font of even widths has it, or one of usual widths, whichever fits the ink.
Parting partedWord(const ReadWord& word, Span span, const LineInk& ink) {
  const std::vector<double> even(word.letters.size(), 1);
  std::vector<double> usual;
  for (const ReadLetter& letter : word.letters) {
    usual.push_back(std::max(usualLetterWidth(letter.text), 0.1));
  }
  Parting best = parted(even, span, ink);
  Parting other = parted(usual, span, ink);
  best.isCertain = 1.4 * best.cost < other.cost;
  other.isEven = false;
  return other.cost < best.cost ? std::move(other) : std::move(best);
}

enum class Evenness { unknown, even, uneven };

/// Answers whether the letters stand as unevenly as those of most fonts.
Evenness fitWord(ReadWord& word, Span span, const LineInk& ink) {
  const PixelRect box = ink.inkBox(span);
  if (box.isEmpty()) return Evenness::unknown;
  span = {box.x, box.right()};
  word.box = box;
  if (span.length() < static_cast<int>(word.letters.size())) {
    for (ReadLetter& letter : word.letters) letter.box = box;
    return Evenness::unknown;
  }
  const Parting parting = partedWord(word, span, ink);
  const std::vector<int>& cuts = parting.cuts;
  for (std::size_t i = 0; i < word.letters.size(); ++i) {
    const Span columns{cuts[i], cuts[i + 1]};
    const PixelRect letter = ink.inkBox(columns);
    word.letters[i].box =
        letter.isEmpty() ? PixelRect{columns.begin, box.y, columns.length(), box.height} : letter;
  }
  if (!parting.isEven) return Evenness::uneven;
  return parting.isCertain ? Evenness::even : Evenness::unknown;
}

PixelRect around(const PixelRect& a, const PixelRect& b) {
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

bool isDigit(const ReadLetter& letter) {
  return letter.text.front() >= '0' && letter.text.front() <= '9';
}

bool isPlainLetter(const ReadLetter& letter) {
  const auto first = static_cast<unsigned char>(letter.text.front());
  return first >= 0x80 || (first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z');
}

/// The words in what was read as one: a recogniser misses the narrow blanks of interfaces. What may
/// be a number or a key is left whole.
std::vector<ReadWord> wordsIn(ReadWord word, int lineHeight) {
  constexpr std::size_t longest = 20;
  std::vector<ReadWord> words;
  if (word.letters.size() > longest) {
    words.push_back(std::move(word));
    return words;
  }
  std::vector<int> gaps;
  for (std::size_t i = 1; i < word.letters.size(); ++i) {
    gaps.push_back(word.letters[i].box.x - word.letters[i - 1].box.right());
  }
  std::ranges::sort(gaps);
  const double usualGap = gaps.empty() ? 0 : gaps[gaps.size() / 2];
  const double leastGap = std::max({3.0, 0.24 * lineHeight, usualGap + 2});
  // Of all digits and letters it has the most room beside it.
  const auto isOne = [](const ReadLetter& letter) { return letter.text == "1"; };
  for (std::size_t i = 0; i < word.letters.size(); ++i) {
    const ReadLetter& letter = word.letters[i];
    bool isApart = words.empty();
    if (i > 0) {
      const ReadLetter& before = word.letters[i - 1];
      const bool areWords = isPlainLetter(before) || isPlainLetter(letter);
      // A letter alone is more often the end of an icon that it stands beside.
      const bool isAlone = (words.back().letters.size() == 1 && !isDigit(before)) ||
                           (i + 1 == word.letters.size() && !isDigit(letter));
      const bool areLetters =
          (isPlainLetter(before) || isDigit(before)) && (isPlainLetter(letter) || isDigit(letter));
      isApart =
          areWords && areLetters && !isAlone &&
          letter.box.x - before.box.right() >= leastGap + (isOne(before) || isOne(letter) ? 2 : 0);
    }
    if (isApart) words.push_back({{}, letter.box, word.isNoise});
    words.back().box = around(words.back().box, letter.box);
    words.back().letters.push_back(letter);
  }
  return words;
}

}  // namespace

namespace {

/// Digits and capitals of numbers are as wide as each other in other fonts, too.
bool tellsEvenness(const ReadWord& word) {
  if (word.letters.size() < 4) return false;
  const auto odd = std::ranges::count_if(word.letters, [](const ReadLetter& letter) {
    const double width = usualLetterWidth(letter.text);
    return width < 0.4 || width > 0.8;
  });
  return odd >= 2 && static_cast<std::size_t>(odd) * 8 >= word.letters.size();
}

}  // namespace

namespace {

/// Ink between two words for which nothing was read, as a word of letters that nobody knows.
std::optional<ReadWord> unreadBetween(const ReadWord& before, const ReadWord& behind,
                                      const LineInk& ink) {
  const int height = ink.rows().length();
  const PixelRect box = ink.inkBox({before.box.right() + 1, behind.box.x - 1});
  // Narrower than that it is a mark, and a thin upright one the edge of a column.
  if (box.width < std::max(3, height / 3) || 3 * box.height < height) return std::nullopt;
  ReadWord unread{.letters = {}, .box = box, .isNoise = true};
  const int count = std::clamp(2 * box.width / height, 1, 40);
  for (int i = 0; i < count; ++i) {
    const int from = box.x + box.width * i / count;
    const int to = box.x + box.width * (i + 1) / count;
    unread.letters.push_back({std::string(unreadLetter), {from, box.y, to - from, box.height}, 0});
  }
  return unread;
}

void addUnread(ReadLine& line, const LineInk& ink) {
  std::vector<ReadWord> all;
  for (ReadWord& word : line.words) {
    std::optional<ReadWord> unread;
    if (!all.empty()) unread = unreadBetween(all.back(), word, ink);
    if (unread) all.push_back(*std::move(unread));
    all.push_back(std::move(word));
  }
  line.words = std::move(all);
}

}  // namespace

double fitToInk(const InkPage& page, ReadLine& line) {
  const LineInk ink(page, line);
  const int height = ink.rows().length();
  double letters = 0;
  double even = 0;
  std::vector<ReadWord> fitted;
  for (std::size_t i = 0; i < line.words.size(); ++i) {
    ReadWord& word = line.words[i];
    // A word reaches as far as its ink does, but not into its neighbours.
    const int leftBound =
        i == 0 ? word.box.x - height
               : std::min((line.words[i - 1].box.right() + word.box.x) / 2, word.box.x);
    const int rightBound =
        i + 1 == line.words.size()
            ? word.box.right() + height
            : std::max((word.box.right() + line.words[i + 1].box.x + 1) / 2, word.box.x + 1);
    Span span{std::clamp(word.box.x, 0, page.size.width - 1),
              std::clamp(word.box.right(), 1, page.size.width)};
    while (span.begin > std::max(leftBound, 0) && ink.hasInk(span.begin - 1)) --span.begin;
    while (span.end < std::min(rightBound, page.size.width) && ink.hasInk(span.end)) ++span.end;
    const Evenness evenness = span.length() > 0 ? fitWord(word, span, ink) : Evenness::unknown;
    if (tellsEvenness(word)) {
      letters += static_cast<double>(word.letters.size());
      if (evenness == Evenness::even) even += static_cast<double>(word.letters.size());
    }
    if (evenness == Evenness::uneven) {
      for (ReadWord& part : wordsIn(word, height)) fitted.push_back(std::move(part));
    } else {
      fitted.push_back(word);
    }
  }
  line.words = std::move(fitted);
  addUnread(line, ink);
  line.box = line.words.front().box;
  for (const ReadWord& word : line.words) line.box = around(line.box, word.box);
  return letters > 0 ? even / letters : 0;
}

}  // namespace vantorel
