#include "text/secret_runs.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "text/card_number_check.hpp"
#include "text/code_points.hpp"
#include "text/iban_check.hpp"

namespace vantorel {
namespace {

using Kind = SensitiveMatchKind;

/// A stretch of a word that could be part of a token: without quotes, brackets and signs around it.
struct Fragment {
  std::vector<int> letters;
  std::string text;  ///< a byte for each letter; '?' for what is no ASCII
  int line = 0;
  bool endsWord = false, endsLine = false, beginsLine = false;
};

/// Read in the midst of tokens as well: taken for "l", "I", "1", "-", "."
bool isTokenLetter(char c) {
  constexpr std::string_view others = "-_.+/|!,~=";
  return isAsciiAlnum(c) || others.find(c) != others.npos;
}

bool isLike(char c, std::string_view alternatives) {
  return alternatives.find(c) != alternatives.npos;
}

char byteOf(const std::string& letter) {
  if (letter.size() == 1) return letter.front();
  if (letter == "—" || letter == "–" || letter == "‐") return '-';
  return '?';
}

/// Whether `text` begins with one of each of the alternatives.
bool beginsLike(std::string_view text, std::initializer_list<std::string_view> alternatives) {
  if (text.size() < alternatives.size()) return false;
  std::size_t i = 0;
  return std::ranges::all_of(alternatives,
                             [&](std::string_view of) { return isLike(text[i++], of); });
}

/// How a token announces itself, and how long it is at least with its beginning.
struct Opening {
  Kind kind;
  std::size_t shortest;
  bool isDotted = false;  ///< three parts with full stops between them
  std::size_t longest = 1000;
};

std::optional<Opening> openingOf(std::string_view text) {
  constexpr std::string_view ell = "Il1|!iJjt";
  constexpr std::string_view dash = "-_~.";
  if (beginsLike(text, {"eco", "yYvV", "J1Il|!jd)]}/"})) return Opening{Kind::jwt, 17, true};
  if (beginsLike(text, {"sS5", "kKh", "-~_"})) return Opening{Kind::apiKey, 18};
  if (beginsLike(text, {"gq9", "hbn", "pousrO0P", "_-"})) {
    return Opening{.kind = Kind::apiKey, .shortest = 22, .longest = 40};
  }
  if (text.starts_with("github") && text.size() > 10 && isLike(text[6], "_-.")) {
    return Opening{Kind::apiKey, 26};
  }
  if (beginsLike(text, {"A4", "KX", "Il1|!iJjtT", "A4"})) {
    return Opening{.kind = Kind::apiKey, .shortest = 18, .longest = 20};
  }
  if (beginsLike(text, {"xX", "oO0", "xX", "bapors6", dash})) return Opening{Kind::apiKey, 14};
  if (beginsLike(text, {"A4", ell, "zZ2", "aoO"})) {
    return Opening{.kind = Kind::apiKey, .shortest = 34, .longest = 39};
  }
  return std::nullopt;
}

/// Whether it goes on with the part of a token before it: no word of a language has digits in it,
/// capitals within, or so many letters.
bool looksRandom(std::string_view text) {
  const bool hasDigit = std::ranges::any_of(text, isAsciiDigit);
  if (text.size() >= 18) return hasDigit || std::ranges::any_of(text, isAsciiUpper);
  const bool hasLetter = std::ranges::any_of(text, isAsciiLetter);
  const bool hasInnerCapital = text.size() > 2 &&
                               std::ranges::any_of(text.substr(1), isAsciiUpper) &&
                               std::ranges::any_of(text, isAsciiLower);
  const bool hasSign = text.find_first_of("_+|!") != text.npos;
  return (hasDigit && hasLetter && text.size() >= 3) || hasInnerCapital || hasSign ||
         (hasDigit && text.size() >= 8);
}

std::vector<Fragment> fragmentsOf(const std::vector<PlacedLetter>& letters) {
  std::vector<Fragment> fragments;
  bool isOpen = false;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const PlacedLetter& letter = letters[i];
    if (letter.beginsWord || letter.beginsLine) isOpen = false;
    const char c = byteOf(letter.text);
    // Capitals are read as brackets and the like, between other letters only.
    const bool isFollowed = i + 1 < letters.size() && !letters[i + 1].beginsWord &&
                            isTokenLetter(byteOf(letters[i + 1].text));
    const std::string_view before = isOpen ? fragments.back().text : std::string_view();
    const bool isLong = before.size() >= 8 || (before.size() >= 3 && openingOf(before));
    const bool isJ = before.size() == 2 && beginsLike(before, {"ec", "yv"});
    const bool isEnd = c == ')' && before.size() >= 12 && looksRandom(before);
    const bool isBracket = isEnd || (isLike(c, "[]{}") && isOpen && (isLong || isFollowed)) ||
                           (isFollowed && isLong && !isLike(c, "\"'<>;:")) ||
                           (isFollowed && isJ && isLike(c, ")]}/"));
    const bool assigns = c == '=' && i + 1 < letters.size() && !letters[i + 1].beginsWord &&
                         byteOf(letters[i + 1].text) != '=';
    if ((!isTokenLetter(c) && !isBracket) || assigns) {
      isOpen = false;
      continue;
    }
    if (!isOpen) {
      fragments.push_back({.letters = {}, .text = {}, .line = letter.line});
      // A sign before it was its first letter, or dirt.
      fragments.back().beginsLine =
          letter.beginsLine || (i > 0 && letters[i - 1].beginsLine && !letter.beginsWord);
    }
    isOpen = true;
    fragments.back().letters.push_back(static_cast<int>(i));
    fragments.back().text += c;
    const bool isLast = i + 1 == letters.size();
    fragments.back().endsLine = isLast || letters[i + 1].beginsLine;
    fragments.back().endsWord = fragments.back().endsLine || letters[i + 1].beginsWord;
  }
  return fragments;
}

/// "A", "1", ".": hardly ever words of their own within a token.
bool isCrumb(std::string_view text) {
  return text.size() <= 2 && std::ranges::any_of(text, isAsciiAlnum);
}

/// Letters of hexadecimal numbers and those taken for them.
bool isHexLike(char c) {
  return isAsciiDigit(c) || isLike(c, "abcdefABCDEF") || isLike(c, "OoQlI|!SsZzGgqLT");
}

bool isHexDigit(char c) { return isAsciiDigit(c) || isLike(c, "abcdefABCDEF"); }

class Runs {
 public:
  explicit Runs(const std::vector<PlacedLetter>& letters)
      : letters_(letters), fragments_(fragmentsOf(letters)), used_(fragments_.size()) {
    for (std::size_t i = 0; i < fragments_.size(); ++i) {
      if (fragments_[i].beginsLine) lineBegins_.push_back(i);
    }
  }

  std::vector<LetterFind> find() {
    findTokens();
    findHex();
    findBase64();
    findLong();
    findCards();
    findAccounts();
    return std::move(found_);
  }

 private:
  /// Whether the letters between two neighbours are only a blank or the end of a line.
  [[nodiscard]] bool areNeighbours(std::size_t i) const {
    return i + 1 < fragments_.size() && fragments_[i].endsWord &&
           letters_[static_cast<std::size_t>(fragments_[i + 1].letters.front())].beginsWord &&
           fragments_[i + 1].letters.front() == fragments_[i].letters.back() + 1;
  }

  /// Whether the next one goes on in the same word, behind a sign that no token has and that one of
  /// its letters was taken for.
  [[nodiscard]] bool isTorn(std::size_t i) const {
    if (i + 1 >= fragments_.size() || fragments_[i + 1].line != fragments_[i].line) return false;
    const auto sign = static_cast<std::size_t>(fragments_[i].letters.back()) + 1;
    const auto behind = static_cast<std::size_t>(fragments_[i + 1].letters.front());
    constexpr std::string_view ends = "\"'<>;:,=";
    return behind == sign + 1 && !letters_[sign].beginsWord && !letters_[behind].beginsWord &&
           ends.find(letters_[sign].text) == ends.npos;
  }

  /// Whether there is more than a blank before the next one: another column, or another window.
  [[nodiscard]] bool areFar(std::size_t i) const {
    const PixelRect& end = endOf(i);
    const PixelRect& begin = beginOf(i + 1);
    return begin.x - end.right() > 3 * std::max({end.height, begin.height, 8});
  }

  using Parts = std::vector<std::size_t>;  ///< fragments of one secret, in order

  [[nodiscard]] const PixelRect& beginOf(std::size_t i) const {
    return letters_[static_cast<std::size_t>(fragments_[i].letters.front())].box;
  }
  [[nodiscard]] const PixelRect& endOf(std::size_t i) const {
    return letters_[static_cast<std::size_t>(fragments_[i].letters.back())].box;
  }

  /// What may be the next part: the word behind, or at the end of a line the first one below, which
  /// may have been read as part of another block.
  [[nodiscard]] std::optional<std::size_t> next(const Parts& parts) const {
    const std::size_t last = parts.back();
    if (isTorn(last)) return last + 1;
    if (areNeighbours(last) && fragments_[last + 1].line == fragments_[last].line) {
      return areFar(last) ? std::nullopt : std::optional(last + 1);
    }
    if (!fragments_[last].endsLine) return std::nullopt;
    const PixelRect& end = endOf(last);
    int height = 8;
    for (const int letter : fragments_[last].letters) {
      height = std::max(height, letters_[static_cast<std::size_t>(letter)].box.height);
    }
    std::optional<std::size_t> below;
    for (const std::size_t i : lineBegins_) {
      const PixelRect& begin = beginOf(i);
      const bool isBelow = begin.y > end.bottom() - height / 3 && begin.y < end.y + height * 9 / 2;
      if (!isBelow || begin.x >= end.x) continue;
      const bool isNearer =
          !below || begin.y < beginOf(*below).y - height / 2 ||
          (begin.y < beginOf(*below).y + height / 2 && begin.x < beginOf(*below).x);
      if (isNearer) below = i;
    }
    if (below && isWrapped(parts, *below)) return below;
    return std::nullopt;
  }

  /// Whether a run was broken at the end of its line and goes on with `next`: lists have lines of
  /// one length, what is wrapped goes to the edge.
  [[nodiscard]] bool isWrapped(const Parts& parts, std::size_t next) const {
    std::ptrdiff_t length = 0;
    for (const std::size_t i : parts) {
      if (fragments_[i].line == fragments_[parts.back()].line) {
        length += static_cast<std::ptrdiff_t>(fragments_[i].text.size());
      }
    }
    const Fragment& rest = fragments_[next];
    if (length < 16) return false;
    if (std::abs(length - static_cast<std::ptrdiff_t>(rest.text.size())) <= 1 && length < 45) {
      return false;
    }
    // A crumb stands alone in its line.
    const bool isAlone = rest.endsLine && rest.text.size() <= 6;
    const bool isSign = std::ranges::none_of(rest.text, isAsciiAlnum);
    if (!isAlone && !isSign && !looksRandom(rest.text)) return false;
    const PixelRect& end = endOf(parts.back());
    return endOf(next).right() <= end.right() + 2 * std::max(end.width, 4);
  }

  [[nodiscard]] bool isOnLine(const Parts& parts, std::size_t next) const {
    return fragments_[next].line == fragments_[parts.back()].line;
  }

  void add(Kind kind, const Parts& parts, bool isDoubtful = false) {
    LetterFind find{.kind = kind, .letters = {}, .isDoubtful = isDoubtful};
    for (const std::size_t i : parts) {
      find.letters.insert(find.letters.end(), fragments_[i].letters.begin(),
                          fragments_[i].letters.end());
      if (!isDoubtful) used_[i] = true;
    }
    std::ranges::sort(find.letters);
    found_.push_back(std::move(find));
  }

  /// How a word begins that may be one: of the longest beginning, in several words, all of them.
  [[nodiscard]] std::string openingText(std::size_t first) const {
    std::string text = fragments_[first].text;
    if (text != "github") return text;
    for (std::size_t i = first; i < first + 3 && areNeighbours(i); ++i) {
      text += fragments_[i + 1].text;
    }
    return text.find("pat") == text.npos ? std::string() : "github_" + text.substr(6);
  }

  void findTokens() {
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      // "key:sk-…" was split at the colon; "eyJ" in the midst of a word is none.
      if (used_[first]) continue;
      const auto opening = openingOf(openingText(first));
      if (!opening) continue;
      std::string text = fragments_[first].text;
      Parts parts{first};
      const auto stops = [&] {
        return std::ranges::count_if(text, [](char c) { return c == '.' || c == ','; });
      };
      while (const auto following = next(parts)) {
        const std::string& more = fragments_[*following].text;
        if (text.size() >= opening->longest) break;
        const bool isCut = text.ends_with('.') || text.ends_with('-') || text.ends_with('_') ||
                           text.ends_with(',') ||
                           (opening->isDotted && (more.front() == '.' || more.front() == ','));
        const bool isOpening = text.size() <= 12 && text.starts_with("github");
        const bool needsMore =
            text.size() < opening->shortest || (opening->isDotted && stops() < 2);
        if (isOnLine(parts, *following) && !looksRandom(more) && !isCut &&
            !(needsMore && isCrumb(more)) && !completes(*opening, text, more) && !isOpening &&
            !isSplinter(parts, *following)) {
          break;
        }
        text += more;
        parts.push_back(*following);
      }
      const bool isWhole = text.size() >= opening->shortest && looksSecret(text.substr(3));
      if (isWhole && (!opening->isDotted || stops() >= 2 || text.size() >= 60)) {
        add(opening->kind, parts);
      } else if (text.size() + 3 >= opening->shortest && looksSecret(text.substr(3))) {
        add(opening->kind, parts, true);
      }
    }
  }

  /// Whether `more` brings a token of one length to that.
  [[nodiscard]] static bool completes(const Opening& opening, std::string_view text,
                                      std::string_view more) {
    const std::size_t length = text.size() + more.size();
    const bool isRest = length + 1 >= opening.longest && length <= opening.longest + 1;
    return isRest && !std::ranges::all_of(more, isAsciiLower);
  }

  /// A sign or a few letters that were torn from the token that goes on behind them.
  [[nodiscard]] bool isSplinter(const Parts& parts, std::size_t i) const {
    const std::string& text = fragments_[i].text;
    const bool isSign = std::ranges::none_of(text, isAsciiAlnum);
    if (text.size() > 3) return false;
    Parts more = parts;
    more.push_back(i);
    const auto following = next(more);
    if (!following) return isSign;
    const std::string& behind = fragments_[*following].text;
    if (looksRandom(behind)) return true;
    return behind.size() <= 3 && isOnLine(more, *following) && more.size() < parts.size() + 2 &&
           isSplinter(more, *following);
  }

  /// Words joined by hyphens are none.
  [[nodiscard]] static bool looksSecret(std::string_view text) {
    return std::ranges::any_of(text, isAsciiDigit) ||
           (std::ranges::any_of(text, isAsciiUpper) && std::ranges::any_of(text, isAsciiLower));
  }

  void findHex() {
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      if (used_[first] || !isHexPart(fragments_[first].text)) continue;
      if (fragments_[first].text.size() < 8) continue;
      std::size_t length = fragments_[first].text.size();
      std::size_t longest = length;
      Parts parts{first};
      while (const auto following = next(parts)) {
        const std::string& more = fragments_[*following].text;
        if (!isHexRest(more) || isNamedHash(more)) break;
        // Two numbers side by side, each whole.
        const std::size_t before = fragments_[parts.back()].text.size();
        if (isOnLine(parts, *following) && isWholeDigest(before) && more.size() == before) break;
        // A hash at the end of a line, above another number.
        if (!isOnLine(parts, *following) && isWholeDigest(length) && more.size() >= length) break;
        length += more.size();
        longest = std::max(longest, more.size());
        parts.push_back(*following);
      }
      constexpr std::size_t shortest = 45;  // of 48, for letters that were run together
      if (length >= shortest && longest >= 12) {
        add(Kind::hexSecret, parts);
      }
    }
  }

  [[nodiscard]] static bool isWholeDigest(std::size_t length) {
    return length == 32 || length == 40;
  }

  [[nodiscard]] static bool isHexPart(std::string_view text) {
    const auto hex = std::ranges::count_if(text, isHexDigit);
    return std::ranges::all_of(text, isHexLike) && std::ranges::any_of(text, isAsciiDigit) &&
           static_cast<std::size_t>(hex) * 10 >= text.size() * 7;
  }

  void findBase64() {
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      if (used_[first] || !isBase64Part(fragments_[first].text)) continue;
      if (fragments_[first].text.size() < 8) continue;
      std::string text = fragments_[first].text;
      std::size_t longest = text.size();
      Parts parts{first};
      while (const auto following = next(parts)) {
        const std::string& more = fragments_[*following].text;
        if (!isBase64Part(more) && !(!isOnLine(parts, *following) && isCrumb(more))) break;
        text += more;
        longest = std::max(longest, more.size());
        parts.push_back(*following);
      }
      const auto hyphens =
          std::ranges::count_if(text, [](char c) { return c == '-' || c == '_' || c == '.'; });
      constexpr std::size_t shortest = 37;  // of 40
      if (text.size() >= shortest && longest >= 14 && isMixed(text) && !isPath(text) &&
          hyphens == 0 && !isNamedHash(text) && !isMostlyHex(text) && changesOften(text)) {
        add(Kind::hexSecret, parts);
      }
    }
  }

  /// Letters of all kinds, more of them in one word than any name has: whatever it begins with, it
  /// is a token.
  void findLong() {
    constexpr std::size_t shortest = 40;
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      const std::string& begin = fragments_[first].text;
      if (used_[first] || begin.size() < 20 || !isMixed(begin)) continue;
      std::string text = begin;
      Parts parts{first};
      while (const auto following = next(parts)) {
        const std::string& more = fragments_[*following].text;
        if (!looksRandom(more) || isNamedHash(more)) break;
        text += more;
        parts.push_back(*following);
      }
      if (text.size() < shortest || isPath(text) || isMostlyHex(text) || isNamedHash(text) ||
          !changesOften(text)) {
        continue;
      }
      add(std::ranges::count(text, '.') >= 2 ? Kind::jwt : Kind::hexSecret, parts);
    }
  }

  [[nodiscard]] static bool isMixed(std::string_view text) {
    return std::ranges::any_of(text, isAsciiUpper) && std::ranges::any_of(text, isAsciiLower) &&
           std::ranges::any_of(text, isAsciiDigit);
  }

  [[nodiscard]] static bool isPath(std::string_view text) {
    return std::ranges::count(text, '/') >= 3 && !text.ends_with('=');
  }

  [[nodiscard]] static bool isHexRest(std::string_view text) {
    return isHexPart(text) || (text.size() <= 4 && std::ranges::all_of(text, isHexDigit)) ||
           (text.size() >= 8 && isMostlyHex(text) && std::ranges::all_of(text, isAsciiAlnum));
  }

  /// A hash with a few letters misread.
  [[nodiscard]] static bool isMostlyHex(std::string_view text) {
    const auto hex = std::ranges::count_if(text, isHexDigit);
    return static_cast<std::size_t>(hex) * 20 >= text.size() * 17;
  }

  /// A hash with the word before it, whose blank was missed.
  [[nodiscard]] static bool isNamedHash(std::string_view text) {
    constexpr std::size_t longestWord = 8;
    for (std::size_t i = 1; i <= longestWord && i < text.size() && isAsciiLetter(text[i - 1]);
         ++i) {
      if (isWholeDigest(text.size() - i) && isMostlyHex(text.substr(i))) return true;
    }
    return false;
  }

  [[nodiscard]] static bool isBase64Part(std::string_view text) {
    const auto odd = static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return !isAsciiAlnum(c) && !isLike(c, "+/=|!"); }));
    const bool hasOther = text.find_first_of("-_.,~") != text.npos;
    return !hasOther && odd * 10 <= text.size() && looksRandom(text);
  }

  /// Random letters change between capitals, small letters and digits at 0.65 of the places.
  [[nodiscard]] static bool changesOften(std::string_view text) {
    const auto kindOf = [](char c) {
      return isAsciiUpper(c) ? 0 : isAsciiLower(c) ? 1 : isAsciiDigit(c) ? 2 : 3;
    };
    std::size_t changes = 0;
    for (std::size_t i = 1; i < text.size(); ++i)
      changes += kindOf(text[i]) != kindOf(text[i - 1]) ? 1 : 0;
    return changes * 20 >= (text.size() - 1) * 9;
  }

  /// Digits of a word and of those that follow, as far as they are groups of digits.
  struct Digits {
    std::string text;
    std::vector<int> letters;
    std::vector<std::size_t> groups;  ///< how many each has
    int taken = 0;                    ///< letters that were taken for digits
    float least = 1;                  ///< the confidence of the least certain one
  };

  /// Digits and what is taken for them, with one at least.
  [[nodiscard]] static bool isDigitGroup(const Fragment& fragment) {
    return std::ranges::any_of(fragment.text, isAsciiDigit) &&
           std::ranges::all_of(fragment.text, [](char c) {
             return c == '-' || digitTakenFor(std::string_view(&c, 1)) != 0;
           });
  }

  void take(const Fragment& fragment, Digits& digits) const {
    std::size_t group = 0;
    const auto close = [&] {
      if (group > 0) digits.groups.push_back(group);
      group = 0;
    };
    for (std::size_t i = 0; i < fragment.text.size(); ++i) {
      const char c = fragment.text[i];
      digits.letters.push_back(fragment.letters[i]);
      if (c == '-') {
        close();
        continue;
      }
      digits.text += digitTakenFor(std::string_view(&c, 1));
      digits.taken += isAsciiDigit(c) ? 0 : 1;
      digits.least = std::min(digits.least,
                              letters_[static_cast<std::size_t>(fragment.letters[i])].confidence);
      ++group;
    }
    close();
  }

  [[nodiscard]] static bool isCardGrouping(const std::vector<std::size_t>& groups) {
    static const std::vector<std::vector<std::size_t>> known{{4, 4, 4, 4}, {4, 6, 5}, {4, 6, 4},
                                                             {16},         {15},      {14}};
    return std::ranges::find(known, groups) != known.end();
  }

  [[nodiscard]] static Parts range(std::size_t first, std::size_t last) {
    Parts parts;
    for (std::size_t i = first; i <= last; ++i) parts.push_back(i);
    return parts;
  }

  void findCards() {
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      if (!isDigitGroup(fragments_[first])) continue;
      Digits digits;
      std::size_t last = first;
      take(fragments_[last], digits);
      while (digits.text.size() < 14 && areNeighbours(last) && isDigitGroup(fragments_[last + 1]) &&
             fragments_[last + 1].line <= fragments_[last].line + 1) {
        take(fragments_[++last], digits);
      }
      const bool begins = digits.text.front() >= '2' && digits.text.front() <= '6';
      const bool isNumber = static_cast<std::size_t>(digits.taken) * 2 < digits.text.size();
      if (!begins || !isNumber || !isCardGrouping(digits.groups)) continue;
      const bool isCard = isCardNumber(digits.text);
      constexpr float certain = 0.75F;
      if (isCard || digits.taken > 0 || digits.least < certain) {
        add(Kind::cardNumber, range(first, last), !isCard);
        if (isCard) first = last;
      }
    }
  }

  /// How long the numbers of a country are.
  [[nodiscard]] static std::size_t lengthFor(std::string_view country) {
    static const std::map<std::string_view, std::size_t> lengths{
        {"AD", 24}, {"AE", 23}, {"AL", 28}, {"AT", 20}, {"AZ", 28}, {"BA", 20}, {"BE", 16},
        {"BG", 22}, {"BH", 22}, {"BR", 29}, {"CH", 21}, {"CR", 22}, {"CY", 28}, {"CZ", 24},
        {"DE", 22}, {"DK", 18}, {"DO", 28}, {"EE", 20}, {"EG", 29}, {"ES", 24}, {"FI", 18},
        {"FO", 18}, {"FR", 27}, {"GB", 22}, {"GE", 22}, {"GI", 23}, {"GL", 18}, {"GR", 27},
        {"GT", 28}, {"HR", 21}, {"HU", 28}, {"IE", 22}, {"IL", 23}, {"IS", 26}, {"IT", 27},
        {"JO", 30}, {"KW", 30}, {"KZ", 20}, {"LB", 28}, {"LI", 21}, {"LT", 20}, {"LU", 20},
        {"LV", 21}, {"MC", 27}, {"MD", 24}, {"ME", 22}, {"MK", 19}, {"MT", 31}, {"NL", 18},
        {"NO", 15}, {"PK", 24}, {"PL", 28}, {"PT", 25}, {"QA", 29}, {"RO", 24}, {"RS", 22},
        {"SA", 24}, {"SE", 24}, {"SI", 19}, {"SK", 24}, {"SM", 27}, {"TN", 24}, {"TR", 26},
        {"UA", 29}, {"XK", 20}};
    const auto found = lengths.find(country);
    return found == lengths.end() ? 0 : found->second;
  }

  /// Behind the country there are digits, whatever was read.
  [[nodiscard]] static char checkDigitTakenFor(char c) {
    if (isLike(c, "LiJjt")) return '1';
    return digitTakenFor(std::string_view(&c, 1));
  }

  /// Tries the letters that may be others until the check digits are right.
  [[nodiscard]] static bool repairs(std::string text, std::size_t from, int& tries) {
    if (isIban(text)) return true;
    for (std::size_t i = from; i < text.size() && tries > 0; ++i) {
      const char read = text[i];
      const char digit = digitTakenFor(std::string_view(&read, 1));
      std::string others;
      if (!isAsciiDigit(read) && digit != 0) others += digit;
      if (isAsciiDigit(read) && i >= 4) {
        constexpr std::string_view letters = "OISZGB";
        constexpr std::string_view digits = "015268";
        const std::size_t at = digits.find(read);
        if (at != digits.npos) others += letters[at];
      }
      for (const char other : others) {
        --tries;
        text[i] = other;
        if (repairs(text, i + 1, tries)) return true;
        text[i] = read;
      }
    }
    return false;
  }

  void findAccounts() {
    for (std::size_t first = 0; first < fragments_.size(); ++first) {
      const std::string& begin = fragments_[first].text;
      if (begin.size() < 4) continue;
      std::string country = begin.substr(0, 2);
      for (char& c : country)
        c = c == '0'                           ? 'O'
            : c == '1' || c == 'l' || c == '|' ? 'I'
            : c == '6'                         ? 'G'
            : c == '8'                         ? 'B'
            : c == '5'                         ? 'S'
                                               : c;
      const bool isNamed = isAsciiUpper(begin[0]) || isAsciiUpper(begin[1]);
      const std::size_t length = isNamed ? lengthFor(country) : 0;
      if (length == 0 || checkDigitTakenFor(begin[2]) == 0 || checkDigitTakenFor(begin[3]) == 0) {
        continue;
      }
      std::string text = begin;
      std::size_t last = first;
      while (text.size() < length && areNeighbours(last) &&
             fragments_[last + 1].line <= fragments_[last].line + 1) {
        text += fragments_[++last].text;
      }
      if (text.size() != length || !std::ranges::all_of(text, [](char c) {
            return isAsciiUpper(c) || digitTakenFor(std::string_view(&c, 1)) != 0;
          }))
        continue;
      const auto digits = std::ranges::count_if(
          text, [](char c) { return digitTakenFor(std::string_view(&c, 1)) != 0; });
      if (static_cast<std::size_t>(digits) * 3 < length * 2 - 6) continue;
      text.replace(0, 2, country);
      for (std::size_t i = 2; i < 4; ++i) text[i] = checkDigitTakenFor(text[i]);
      // Most numbers are all digits behind the country.
      std::string plain = text;
      for (std::size_t i = 4; i < plain.size(); ++i) {
        const char digit = digitTakenFor(std::string_view(&plain[i], 1));
        if (digit != 0) plain[i] = digit;
      }
      for (char& c : text)
        c = c >= 'a' && c <= 'z'   ? static_cast<char>(c - 'a' + 'A')
            : c == '|' || c == '!' ? '1'
                                   : c;
      int tries = 6;
      const bool isRight = isIban(plain) || repairs(text, 4, tries);
      float least = 1;
      for (std::size_t i = first; i <= last; ++i) {
        for (const int letter : fragments_[i].letters) {
          least = std::min(least, letters_[static_cast<std::size_t>(letter)].confidence);
        }
      }
      constexpr float certain = 0.75F;
      if (isRight || least < certain) {
        add(Kind::iban, range(first, last), !isRight);
        if (isRight) first = last;
      }
    }
  }

  const std::vector<PlacedLetter>& letters_;
  std::vector<Fragment> fragments_;
  std::vector<bool> used_;               ///< the fragments that belong to a find
  std::vector<std::size_t> lineBegins_;  ///< the fragments that begin lines
  std::vector<LetterFind> found_;
};

}  // namespace

std::vector<LetterFind> misreadSecretsIn(const std::vector<PlacedLetter>& letters) {
  return Runs(letters).find();
}

}  // namespace vantorel
