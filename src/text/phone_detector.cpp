#include "text/phone_detector.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>

#include "base/log.hpp"
#include "text/code_points.hpp"

namespace vantorel {
namespace {

constexpr std::size_t fewestDigits = 7;
constexpr std::size_t mostDigits = 15;      // ITU-T E.164
constexpr std::size_t longestStretch = 64;  // in bytes: several numbers, one behind the other

/// Looks of the finder in one region that are paid for: some 0.1 ms each.
constexpr std::size_t looksOfAnyText = 1500;
constexpr std::size_t bytesForALook = 400;

/// Blanks and hyphens of whatever width count as one.
enum class Part { digit, plus, bracket, separator, blank, none };

Part partOf(char32_t letter) {
  if (digitValue(letter)) return Part::digit;
  switch (letter) {
    case U'+':
    case U'\uFF0B': return Part::plus;
    case U'(':
    case U')': return Part::bracket;
    case U'-':
    case U'.':
    case U'/':
    case U'\u2212': return Part::separator;
    case U' ':
    case U'\u00A0':
    case U'\u2007':
    case U'\u2009':
    case U'\u202F': return Part::blank;
    default: return letter >= U'\u2010' && letter <= U'\u2015' ? Part::separator : Part::none;
  }
}

struct Stretch {
  TextRange range;
  std::size_t digits = 0;
  bool hasForm = false;  ///< more than digits, or a nought at the beginning
};

/// What may be one number or several: digits with blanks, hyphens and brackets between them.
class Stretches {
 public:
  explicit Stretches(std::string_view text) : text_(text) {}

  std::optional<Stretch> next() {
    while (at_ < text_.size()) {
      const CodePoint letter = codePointAt(text_, at_);
      const Part part = partOf(letter.value);
      const bool begins = part == Part::digit || part == Part::plus || letter.value == U'(';
      if (!begins) {
        at_ += letter.length;
        continue;
      }
      const Stretch stretch = read();
      if (stretch.digits >= fewestDigits) return stretch;
    }
    return std::nullopt;
  }

 private:
  /// Reads from `at_` and leaves it behind.
  Stretch read() {
    Stretch stretch{.range = {at_, at_}};
    std::size_t run = 0;
    Part previous = Part::none;
    stretch.hasForm = text_[at_] == '+' || text_[at_] == '(' || text_[at_] == '0';
    const std::size_t begin = at_;
    while (at_ < text_.size() && at_ - begin < longestStretch) {
      const CodePoint letter = codePointAt(text_, at_);
      const Part part = partOf(letter.value);
      if (part == Part::none || (part == Part::blank && previous == Part::blank)) break;
      if (part == Part::plus && stretch.digits > 0) break;  // the next number
      at_ += letter.length;
      run = part == Part::digit ? run + 1 : 0;
      if (run > mostDigits) return skipRun();
      if (part == Part::digit) {
        if (previous != Part::digit && stretch.digits > 0) stretch.hasForm = true;
        ++stretch.digits;
        stretch.range.end = at_;
      }
      previous = part;
    }
    // One that is cut off goes on with its last group.
    if (at_ - begin >= longestStretch && previous == Part::digit && run < at_ - begin) {
      const std::size_t group = at_ - run;
      if (group > begin && stretch.digits > run) {
        stretch.digits -= run;
        stretch.range.end = group;
        at_ = group;
      }
    }
    return stretch;
  }

  /// Past digits that are too many for a number.
  Stretch skipRun() {
    while (at_ < text_.size()) {
      const CodePoint letter = codePointAt(text_, at_);
      if (!digitValue(letter.value)) break;
      at_ += letter.length;
    }
    return {};
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// Whether it has the form of one number.
bool looksLikeNumber(std::string_view text, const Stretch& stretch) {
  const char first = text[stretch.range.begin];
  return stretch.digits >= 8 && stretch.digits <= mostDigits &&
         (first == '+' || first == '(' || first == '0') &&
         text.substr(stretch.range.begin, stretch.range.length()).find('.') == text.npos;
}

/// "2024-06-11 12", "11.06.2024 12": a day, before a time of it.
void skipDate(std::string_view text, Stretch& stretch) {
  constexpr std::size_t length = 10;
  constexpr std::size_t digitsOfDate = 8;
  if (stretch.range.length() < length) return;
  const std::string_view date = text.substr(stretch.range.begin, length);
  const auto isForm = [&](std::string_view form) {
    return std::ranges::equal(date, form, [](char c, char of) {
      return of == '0' ? isAsciiDigit(c) : c == '-' || c == '.' || c == '/';
    });
  };
  const bool isYearFirst = isForm("0000-00-00") && (date[0] == '1' || date[0] == '2');
  if (!isYearFirst && !isForm("00-00-0000")) return;
  stretch.range.begin += length;
  stretch.digits -= digitsOfDate;
  while (stretch.range.begin < stretch.range.end && text[stretch.range.begin] == ' ') {
    ++stretch.range.begin;
  }
}

/// Without a bracket that is closed behind the number, or not at all.
TextRange withoutOpenBracket(std::string_view text, TextRange range) {
  if (text[range.begin] == '(' && text.substr(range.begin, range.length()).find(')') == text.npos) {
    ++range.begin;
  }
  return range;
}

bool isWordLetter(char c) { return isAsciiLetter(c) || c == '_' || c < 0; }

}  // namespace

std::vector<SensitiveMatch> phonesIn(std::string_view text, PhoneNumberFinder& finder,
                                     const std::vector<std::string>& regions) {
  std::vector<SensitiveMatch> found;
  const std::vector<std::string> home(regions.begin(), regions.begin() + (regions.empty() ? 0 : 1));
  std::map<std::string, std::vector<TextRange>, std::less<>> known;
  std::size_t looks = looksOfAnyText + text.size() / bytesForALook;
  bool fails = false;
  Stretches stretches(text);
  while (auto stretch = stretches.next()) {
    skipDate(text, *stretch);
    if (stretch->digits < fewestDigits) continue;
    const TextRange& range = stretch->range;
    if (range.begin > 0 && isWordLetter(text[range.begin - 1]) && !stretch->hasForm) continue;
    const std::vector<std::string>& tried = stretch->hasForm ? regions : home;
    // The letters around it say whether it is part of something else.
    const std::size_t begin =
        range.begin > 0 && text[range.begin - 1] >= ' ' ? range.begin - 1 : range.begin;
    std::size_t end = range.end < text.size() && text[range.end] >= ' ' ? range.end + 1 : range.end;
    constexpr std::size_t extension = 12;
    if (end > range.end && text.substr(range.end, 5).find_first_of("xX#") != text.npos) {
      while (end < std::min(text.size(), range.end + extension) && text[end] >= ' ') ++end;
    }
    const std::string_view shown = text.substr(begin, end - begin);
    auto answer = known.find(shown);
    if (answer == known.end() && !fails && looks >= tried.size()) {
      looks -= tried.size();
      auto numbers = finder.find(shown, tried);
      if (!numbers) {
        logWarning("Text", "telephone numbers: {}", numbers.error().reason);
        fails = true;
      } else {
        answer = known.emplace(std::string(shown), std::move(*numbers)).first;
      }
    }
    if (answer != known.end()) {
      for (const TextRange& number : answer->second) {
        found.push_back({SensitiveMatchKind::phone,
                         withoutOpenBracket(text, {begin + number.begin, begin + number.end})});
      }
    } else if (looksLikeNumber(text, *stretch)) {
      found.push_back({SensitiveMatchKind::phone, withoutOpenBracket(text, range)});
    }
  }
  return found;
}

std::vector<std::string> phoneRegions(std::string_view locale) {
  std::vector<std::string> regions;
  const std::size_t mark = locale.find('_');
  const std::string_view country =
      mark == locale.npos ? std::string_view() : locale.substr(mark + 1, 2);
  if (country.size() == 2 && std::ranges::all_of(country, isAsciiUpper))
    regions.emplace_back(country);
  for (const char* const region : {"US", "GB", "DE", "FR", "NL"}) {
    if (std::ranges::find(regions, region) == regions.end()) regions.emplace_back(region);
  }
  return regions;
}

}  // namespace vantorel
