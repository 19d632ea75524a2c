#include "text/letter_scan.hpp"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "text/code_points.hpp"
#include "text/ink_box.hpp"

namespace vantorel {
namespace {

using Letters = std::vector<PlacedLetter>;

PixelRect around(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

/// Of a commit or a file, with a letter that was misread: encoded bytes are rarely digits and the
/// first letters of the alphabet.
bool isHash(const SensitiveMatch& match, std::string_view text) {
  if (match.kind != SensitiveMatchKind::hexSecret) return false;
  std::string_view letters = text.substr(match.range.begin, match.range.length());
  // "commit" or the like, whose blank was missed.
  constexpr std::size_t hash = 40;
  if (letters.size() > 44 && letters.size() <= hash + 8 &&
      std::ranges::all_of(letters.substr(0, letters.size() - hash), isAsciiLower)) {
    letters.remove_prefix(letters.size() - hash);
  }
  if (letters.size() > 44) return false;
  const auto hex = std::ranges::count_if(letters, [](char c) {
    return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  });
  return static_cast<std::size_t>(hex) * 20 >= letters.size() * 17;
}

bool isLetterBeyondAscii(std::string_view letter) {
  return isForeignLetter(codePointAt(letter, 0).value);
}

/// Letters of a line that was cut out with some rows of its neighbours: as high as the line.
Letters keptWithin(Letters letters, const PixelRect& line) {
  const int slack = std::max(1, line.height / 8);
  const int top = line.y - slack;
  const int bottom = line.bottom() + slack;
  for (PlacedLetter& letter : letters) {
    const int from = std::clamp(letter.box.y, top, bottom - 1);
    const int to = std::clamp(letter.box.bottom(), from + 1, bottom);
    letter.box = {letter.box.x, from, letter.box.width, to - from};
  }
  return letters;
}

}  // namespace

LetterScan::LetterScan(const Image& picture, Letters letters, const SensitiveTextDetector& detector)
    : picture_(picture), letters_(std::move(letters)), lines_(letters_) {
  scan(detector);
}

LetterScan::LetterScan(const LetterScan& page, int line, Letters letters,
                       const SensitiveTextDetector& detector)
    : picture_(page.picture_),
      letters_(
          keptWithin(std::move(letters), page.lines_.lines()[static_cast<std::size_t>(line)].box)),
      lines_(letters_),
      page_(&page),
      lineOfPage_(line) {
  scan(detector);
}

void LetterScan::scan(const SensitiveTextDetector& detector) {
  owners_.assign(letters_.size(), -1);
  for (const LetterText& text : {textWithJoinedHosts(letters_), plainText(letters_),
                                 textWithDigits(letters_), textWithAddressLetters(letters_)}) {
    for (const SensitiveMatch& match : detector.matches(text.text)) {
      if (!isHash(match, text.text)) add(match.kind, text.lettersIn(match.range));
    }
  }
  for (const LetterFind& find : misreadSecretsIn(letters_)) {
    if (find.isDoubtful) {
      doubtful_.insert(letters_[static_cast<std::size_t>(find.letters.front())].line);
    } else {
      add(find.kind, find.letters);
    }
  }
}

std::vector<CoveredFind> LetterScan::finds() const {
  std::vector<CoveredFind> finds;
  for (const LetterFind& found : found_) {
    CoveredFind find{.kind = found.kind, .boxes = {}, .text = {}};
    std::map<int, PixelRect> lines;
    int previous = -2;
    for (const int i : found.letters) {
      const PlacedLetter& letter = letters_[static_cast<std::size_t>(i)];
      PixelRect& box = lines[letter.line];
      // What goes on from the line above begins with its line, whatever sign that was read as.
      if (box.isEmpty() && previous >= 0 && i > 0 && !letter.beginsWord &&
          letters_[static_cast<std::size_t>(i) - 1].beginsLine) {
        box = letters_[static_cast<std::size_t>(i) - 1].box;
      }
      box = around(box, letter.box);
      if (!find.text.empty() && (letter.beginsWord || i != previous + 1)) find.text += ' ';
      find.text += letter.text;
      previous = i;
    }
    for (const auto& [line, box] : lines) find.boxes.push_back(coverOf(found, line, box));
    finds.push_back(std::move(find));
  }
  return finds;
}

auto LetterScan::doubtfulLines() const -> std::vector<DoubtfulLine> {
  std::multimap<int, DoubtfulLine, std::greater<>> lines;
  for (std::size_t i = 0; i < lines_.lines().size(); ++i) {
    const int line = static_cast<int>(i);
    const int doubt = doubtful_.contains(line) ? 100 : doubtIn(line);
    if (doubt > 0) lines.insert({doubt, {line, lines_.lines()[i].box}});
  }
  std::vector<DoubtfulLine> ordered;
  for (const auto& [doubt, line] : lines) ordered.push_back(line);
  return ordered;
}

/// Of finds that share letters, the first stays; the other as far as it has letters of its own.
void LetterScan::add(SensitiveMatchKind kind, std::vector<int> letters) {
  if (letters.empty()) return;
  if (kind == SensitiveMatchKind::phone && lacksDigits(letters)) return;
  if (kind == SensitiveMatchKind::hexSecret && wasHash(letters)) return;
  toWordBegin(kind, letters);
  toWordEnd(kind, letters);
  LetterFind find{.kind = kind, .letters = {}};
  int other = -1;
  bool says = false;
  for (const int i : letters) {
    const auto letter = static_cast<std::size_t>(i);
    const int owner = owners_[letter];
    if (owner >= 0) {
      // More letters of the same secret belong to it.
      if (found_[static_cast<std::size_t>(owner)].kind == kind) other = owner;
      continue;
    }
    find.letters.push_back(i);
    const std::string& text = letters_[letter].text;
    says = says || text.size() > 1 || isAsciiAlnum(text.front());
  }
  if (!says) return;
  const bool isNew = other < 0;
  const int owner = isNew ? static_cast<int>(found_.size()) : other;
  for (const int i : find.letters) owners_[static_cast<std::size_t>(i)] = owner;
  if (isNew) {
    found_.push_back(std::move(find));
    return;
  }
  std::vector<int>& all = found_[static_cast<std::size_t>(other)].letters;
  all.insert(all.end(), find.letters.begin(), find.letters.end());
  std::ranges::sort(all);
}

/// Signs that what it begins with was taken for, a part of its first letter, or a quotation mark
/// that was read as two and moved all places behind it.
void LetterScan::toWordBegin(SensitiveMatchKind kind, std::vector<int>& letters) const {
  constexpr std::string_view marks = ":/=,;([{<>&\\";
  // The rest of a scheme.
  const std::string_view apart = marks.substr(kind == SensitiveMatchKind::url ? 2 : 0);
  for (int taken = 0; taken < 2; ++taken) {
    const auto first = static_cast<std::size_t>(letters.front());
    if (first == 0 || letters_[first].beginsWord || letters_[first].beginsLine) return;
    const std::string& before = letters_[first - 1].text;
    const bool isSign =
        before.size() > 1 ? !isLetterBeyondAscii(before) : !isAsciiAlnum(before.front());
    if (!isSign || apart.find(before) != apart.npos) return;
    letters.insert(letters.begin(), static_cast<int>(first) - 1);
  }
}

/// Whether the page has the hash of a commit where this is read, larger and worse, as a secret.
bool LetterScan::wasHash(const std::vector<int>& letters) const {
  if (page_ == nullptr) return false;
  PixelRect box;
  for (const int i : letters) box = around(box, letters_[static_cast<std::size_t>(i)].box);
  const ReadingLines::Line& line = page_->lines_.lines()[static_cast<std::size_t>(lineOfPage_)];
  std::size_t length = 0;
  std::size_t hex = 0;
  bool isHash = false;
  const auto endWord = [&] {
    isHash = isHash || (length >= 38 && length <= 42 && hex * 10 >= length * 9);
    length = hex = 0;
  };
  for (std::size_t i = line.first; i < line.last; ++i) {
    const PlacedLetter& letter = page_->letters_[i];
    if (letter.beginsWord) endWord();
    const int middle = letter.box.x + letter.box.width / 2;
    if (middle < box.x || middle >= box.right()) continue;
    const char c = letter.text.front();
    ++length;
    hex += isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') ? 1U : 0U;
  }
  endWord();
  return isHash;
}

/// Whether the page was read with more digits where this is read as a telephone number: a number of
/// an order becomes one when a digit of it is lost.
bool LetterScan::lacksDigits(const std::vector<int>& letters) const {
  if (page_ == nullptr) return false;
  const auto isDigit = [](const PlacedLetter& letter) { return isAsciiDigit(letter.text.front()); };
  PixelRect box;
  std::ptrdiff_t own = 0;
  for (const int i : letters) {
    const PlacedLetter& letter = letters_[static_cast<std::size_t>(i)];
    box = around(box, letter.box);
    own += isDigit(letter) ? 1 : 0;
  }
  const ReadingLines::Line& line = page_->lines_.lines()[static_cast<std::size_t>(lineOfPage_)];
  std::ptrdiff_t others = 0;
  for (std::size_t i = line.first; i < line.last; ++i) {
    const PlacedLetter& letter = page_->letters_[i];
    const int middle = letter.box.x + letter.box.width / 2;
    if (isDigit(letter) && middle >= box.x && middle < box.right()) ++others;
  }
  return others > own;
}

/// What a token ends in may have been misread as something that ends it; a sign behind anything
/// else may stand for a part of its last letter.
void LetterScan::toWordEnd(SensitiveMatchKind kind, std::vector<int>& letters) const {
  if (kind < SensitiveMatchKind::jwt) {
    const auto behind = static_cast<std::size_t>(letters.back()) + 1;
    const bool isSign = behind < letters_.size() && !letters_[behind].beginsWord &&
                        !letters_[behind].beginsLine && letters_[behind].text.size() == 1 &&
                        !isAsciiAlnum(letters_[behind].text.front());
    if (isSign) letters.push_back(static_cast<int>(behind));
    return;
  }
  constexpr std::string_view ends = "\"',;<>&";
  for (auto i = static_cast<std::size_t>(letters.back()) + 1;
       i < letters_.size() && !letters_[i].beginsWord && !letters_[i].beginsLine &&
       ends.find(letters_[i].text) == ends.npos;
       ++i) {
    letters.push_back(static_cast<int>(i));
  }
}

PixelRect LetterScan::coverOf(const LetterFind& find, int line, const PixelRect& box) const {
  const ReadingLines::Line& own = lines_.lines()[static_cast<std::size_t>(line)];
  std::vector<PixelRect> others;
  for (std::size_t i = own.first; i < own.last; ++i) {
    if (!std::ranges::binary_search(find.letters, static_cast<int>(i))) {
      others.push_back(letters_[i].box);
    }
  }
  // As high as all the line's letters: a glyph whose height was misjudged is covered all the same.
  const int tallest = std::min(own.box.height, box.height * 2);
  const int top = std::max(own.box.y, box.y - (tallest - box.height));
  const int bottom = std::min(own.box.bottom(), box.bottom() + (tallest - box.height));
  const PixelRect ink = inkBox(picture_, {box.x, top, box.width, bottom - top}, others);
  // A sixth of the letters' height, three pixels at least; where lines touch each other, their ink
  // does too, and what the next line says is not this one's.
  const int margin = std::max(3, box.height / 6);
  const PixelRect cover = intersection(
      {ink.x - margin, ink.y - margin, ink.width + 2 * margin, ink.height + 2 * margin},
      {0, 0, picture_.width(), picture_.height()});
  const ReadingLines& page = page_ == nullptr ? lines_ : page_->lines_;
  const RowLimits limits =
      page.limits(page_ == nullptr ? line : lineOfPage_, box, picture_.height());
  const int coverTop = std::max(cover.y, limits.top);
  const int coverBottom = std::min(cover.bottom(), limits.bottom);
  return {cover.x, coverTop, cover.width, coverBottom - coverTop};
}

/// How likely it is that a secret was misread in a line: a word that is long and mixed enough for
/// one, the sign of an address or of a link, a row of digits none of which was found, words that
/// the recogniser was not sure of.
int LetterScan::doubtIn(int line) const {
  const ReadingLines::Line& own = lines_.lines()[static_cast<std::size_t>(line)];
  std::string word;
  std::size_t digits = 0;
  bool isFound = false;
  int doubt = 0;
  float sure = 0;
  const auto endWord = [&] {
    constexpr std::size_t longWord = 16;
    const bool isMixed =
        std::ranges::any_of(word, isAsciiDigit) && std::ranges::any_of(word, isAsciiLetter);
    if (word.size() >= longWord && isMixed) doubt = std::max(doubt, 50);
    if (word.find("//") != word.npos || word.find("www") != word.npos) doubt = std::max(doubt, 30);
    word.clear();
  };
  for (std::size_t i = own.first; i < own.last; ++i) {
    const PlacedLetter& letter = letters_[i];
    if (letter.beginsWord) endWord();
    word += letter.text;
    digits += isAsciiDigit(letter.text.front()) ? 1 : 0;
    isFound = isFound || owners_[i] >= 0;
    sure += letter.confidence;
    if (letter.text == unreadLetter) doubt = std::max(doubt, 30);
    if (letter.isNoise) doubt = std::max(doubt, 25);
    if (letter.text == "@" || letter.text == "©" || letter.text == "®") doubt = std::max(doubt, 40);
  }
  endWord();
  constexpr std::size_t manyDigits = 7;
  if (!isFound && digits >= manyDigits) doubt = std::max(doubt, 20);
  const auto letters = static_cast<float>(own.last - own.first);
  constexpr float certain = 0.8F;
  if (letters >= 8 && sure < certain * letters) doubt = std::max(doubt, 10);
  return doubt;
}

}  // namespace vantorel
