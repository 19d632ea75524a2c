#include "text/letter_text.hpp"

#include <algorithm>

#include "text/code_points.hpp"
#include "text/top_level_domains.hpp"

namespace vantorel {
namespace {

/// One past the word that begins at `begin`.
std::size_t wordEnd(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  std::size_t end = begin + 1;
  while (end < letters.size() && !letters[end].beginsWord && !letters[end].beginsLine) ++end;
  return end;
}

void addBreak(LetterText& text, const PlacedLetter& letter) {
  if (text.text.empty()) return;
  if (letter.beginsLine) {
    text.addBlank('\n');
  } else if (letter.beginsWord) {
    text.addBlank(' ');
  }
}

bool isAtSign(std::string_view letter) { return letter == "@" || letter == "©" || letter == "®"; }

std::string wordAt(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  std::string word;
  for (std::size_t i = begin, end = wordEnd(letters, begin); i < end; ++i) word += letters[i].text;
  return word;
}

/// The letters of a word as far as its first full stop.
std::string wordUpToDot(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  std::string word;
  for (std::size_t i = begin, end = wordEnd(letters, begin); i < end; ++i) {
    word += letters[i].text;
    if (letters[i].text == ".") break;
  }
  return word;
}

/// As the hosts of a company may end.
bool isSmallWord(std::string_view word) {
  return word.size() >= 2 && word.size() <= 12 && std::ranges::all_of(word, isAsciiLower);
}

/// A name and a full stop, or a name: what stands in the midst of a torn host.
bool isHostPart(std::string_view word) {
  if (word.ends_with('.')) word.remove_suffix(1);
  return isSmallWord(word);
}

/// "www." with capitals and a pair of "v" in the place of a "w".
bool isWeb(std::string_view word) {
  return word.size() >= 4 && word.size() <= 7 && word.ends_with('.') &&
         word.find_first_not_of("wWvV") == word.size() - 1;
}

/// "shop.", "www.example."
bool isHostBegun(std::string_view word) {
  return std::ranges::all_of(word, [](char c) {
    return isAsciiLower(c) || isAsciiDigit(c) || c == '.' || c == '-' || c < 0;
  });
}

/// ".example.co.uk"
bool isRestOfHostWord(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  const std::string word = wordAt(letters, begin).substr(1);
  return std::ranges::count(word, '.') > 0 &&
         isHostBegun(word.substr(0, word.find_first_of("/?:")));
}

/// Whether the word at `begin` is the rest of the name before an "@", torn behind a sign that
/// leaves some room: "jean-luc. picard@…".
bool isRestOfName(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  const PlacedLetter& before = letters[begin - 1];
  constexpr std::string_view signs = ".-_+";
  if (before.text.size() != 1 || signs.find(before.text) == signs.npos) return false;
  const std::size_t end = wordEnd(letters, begin);
  int height = 0;
  bool isName = false;
  for (std::size_t i = begin; i < end; ++i) {
    height = std::max(height, letters[i].box.height);
    isName = isName || isAtSign(letters[i].text);
  }
  return isName && letters[begin].box.x - before.box.right() < std::max(3, height * 3 / 10);
}

/// "com", "de," – what stands behind the blank that was read in a host.
bool isEndingOfHost(std::string word) {
  while (!word.empty() && !isAsciiAlnum(word.back()) && word.back() >= 0) word.pop_back();
  const std::size_t path = word.find_first_of("/?:");
  if (path != word.npos) word.resize(path);
  return domainEnding(word) == DomainEnding::host;
}

/// Whether words that follow end a host, "example. co.uk/path", each but the last with a full stop.
bool isRestOfHost(const std::vector<PlacedLetter>& letters, std::size_t begin) {
  constexpr int mostWords = 3;
  for (int i = 0; i < mostWords && begin < letters.size(); ++i) {
    const std::string word = wordAt(letters, begin);
    const std::string host = word.substr(0, word.find_first_of("/?:,"));
    if (host.empty() || !isHostBegun(host)) return false;
    const std::size_t end = wordEnd(letters, begin);
    const bool goesOn = host.ends_with('.') && host.size() == word.size();
    if (!goesOn) return isEndingOfHost(host.substr(host.rfind('.') + 1));
    if (end < letters.size() && letters[end].beginsLine) return false;
    begin = end;
  }
  return false;
}

}  // namespace

void LetterText::add(std::string_view part, int letter) {
  text += part;
  letters.insert(letters.end(), part.size(), letter);
}

std::vector<int> LetterText::lettersIn(const TextRange& range) const {
  std::vector<int> found;
  for (std::size_t i = range.begin; i < range.end && i < letters.size(); ++i) {
    if (letters[i] >= 0 && (found.empty() || found.back() != letters[i])) {
      found.push_back(letters[i]);
    }
  }
  return found;
}

std::vector<PlacedLetter> placedLetters(const PictureReading& reading) {
  std::vector<PlacedLetter> letters;
  int lineNumber = 0;
  for (const ReadBlock& block : reading.blocks) {
    for (const ReadLine& line : block.lines) {
      bool beginsLine = true;
      for (const ReadWord& word : line.words) {
        bool beginsWord = true;
        for (const ReadLetter& letter : word.letters) {
          letters.push_back({.text = letter.text,
                             .box = letter.box,
                             .confidence = letter.confidence,
                             .line = lineNumber,
                             .beginsWord = beginsWord,
                             .beginsLine = beginsLine,
                             .isNoise = word.isNoise});
          beginsWord = beginsLine = false;
        }
      }
      ++lineNumber;
    }
  }
  return letters;
}

LetterText plainText(const std::vector<PlacedLetter>& letters) {
  LetterText text;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    addBreak(text, letters[i]);
    text.add(letters[i].text, static_cast<int>(i));
  }
  return text;
}

char digitTakenFor(std::string_view letter) {
  if (letter.size() != 1) return 0;
  const char c = letter.front();
  if (isAsciiDigit(c)) return c;
  switch (c) {
    case 'O':
    case 'o':
    case 'Q':
    case 'D': return '0';
    case 'I':
    case 'l':
    case 'i':
    case '|':
    case '!':
    case ']':
    case '[': return '1';
    case 'Z':
    case 'z': return '2';
    case 'A': return '4';
    case 'S':
    case 's': return '5';
    case 'G':
    case 'b': return '6';
    case 'T': return '7';
    case 'B': return '8';
    case 'g':
    case 'q': return '9';
    default: return 0;
  }
}

LetterText textWithDigits(const std::vector<PlacedLetter>& letters) {
  LetterText text;
  for (std::size_t begin = 0; begin < letters.size();) {
    const std::size_t end = wordEnd(letters, begin);
    std::size_t digits = 0;
    std::size_t taken = 0;
    std::size_t others = 0;
    for (std::size_t i = begin; i < end; ++i) {
      const char digit = digitTakenFor(letters[i].text);
      const bool isDigit = letters[i].text.size() == 1 && isAsciiDigit(letters[i].text.front());
      if (isDigit) {
        ++digits;
      } else if (digit != 0) {
        ++taken;
      } else if (isAsciiAlnum(letters[i].text.front()) || letters[i].text.size() > 1) {
        ++others;
      }
    }
    const bool isNumber = digits > 0 && others == 0 && digits * 2 >= digits + taken;
    for (std::size_t i = begin; i < end; ++i) {
      addBreak(text, letters[i]);
      const char digit = isNumber ? digitTakenFor(letters[i].text) : char{0};
      text.add(digit != 0 ? std::string_view(&digit, 1) : std::string_view(letters[i].text),
               static_cast<int>(i));
    }
    begin = end;
  }
  return text;
}

LetterText textWithJoinedHosts(const std::vector<PlacedLetter>& letters) {
  LetterText text;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const PlacedLetter& letter = letters[i];
    const bool followsAt = text.text.ends_with('@');
    const bool followsScheme = text.text.ends_with("://") || text.text.ends_with("https:") ||
                               text.text.ends_with("http:") || text.text.ends_with(":/") ||
                               text.text.ends_with("www.");
    const std::size_t word = text.text.find_last_of(" \n");
    const std::string_view before =
        std::string_view(text.text).substr(word == text.text.npos ? 0 : word + 1);
    const bool isHostBefore = before.find('@') != before.npos ||
                              before.find("://") != before.npos || before.starts_with("www.");
    const bool isMailBefore = before.find('@') != before.npos;
    const bool endsHost =
        isHostBefore && before.ends_with('.') && letter.beginsWord &&
        (isEndingOfHost(wordAt(letters, i)) || (isMailBefore && isHostPart(wordAt(letters, i))));
    const bool dotAfterHost = isHostBefore && letter.beginsWord && letter.text == "." &&
                              i + 1 < letters.size() && !letters[i + 1].beginsWord;
    const bool isTornHost = before.size() >= 3 && before.ends_with('.') && letter.beginsWord &&
                            !letter.beginsLine && isRestOfHost(letters, i) &&
                            isHostBegun(before.substr(before.find_last_of("\"(<=") + 1));
    const bool isTornName =
        letter.beginsWord && !letter.beginsLine && i > 0 && isRestOfName(letters, i);
    const bool joins = isTornHost || isTornName || followsAt || followsScheme ||
                       isAtSign(letter.text) || endsHost || dotAfterHost;
    if (!joins || (letter.beginsLine && !followsAt)) addBreak(text, letter);
    if (letter.beginsWord && isWeb(wordUpToDot(letters, i))) {
      constexpr std::string_view web = "www";
      std::size_t left = web.size();
      for (; letters[i].text != "."; ++i) {
        if (left > 0) text.add(web.substr(--left, 1), static_cast<int>(i));
      }
      text.add(".", static_cast<int>(i));
      continue;
    }
    const bool isSchemeColon = letter.text == ";" && i + 2 < letters.size() &&
                               letters[i + 1].text == "/" && letters[i + 2].text == "/";
    const bool isBegin = letter.beginsWord || letter.beginsLine;
    // A scheme that was lost: what is behind it is a host all the same.
    const bool isLostScheme =
        letter.text == "/" && i + 1 < letters.size() && letters[i + 1].text == "/" && isBegin;
    // What was before the first full stop was not read.
    const bool isLostHost = letter.text == "." && isBegin && isRestOfHostWord(letters, i);
    if (isLostHost) {
      text.addBlank(' ');
      continue;
    }
    if (isLostScheme) {
      text.addBlank(' ');
      ++i;
      continue;
    }
    text.add(isAtSign(letter.text) ? "@"
             : isSchemeColon       ? ":"
                                   : std::string_view(letter.text),
             static_cast<int>(i));
  }
  return text;
}

namespace {

bool isUpperOrDigit(char c) { return isAsciiUpper(c) || isAsciiDigit(c); }

/// Whether a word is the first half of a British postcode without the digit in it, and the next one
/// the second half: "SWIA 1AA".
bool isPostcodeBegun(const std::string& word, const std::string& next) {
  const std::size_t length =
      std::min(next.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"), next.size());
  return word.size() >= 2 && word.size() <= 4 && isAsciiUpper(word.front()) && length == 3 &&
         isAsciiDigit(next[0]) && isAsciiUpper(next[1]) && isAsciiUpper(next[2]) &&
         std::ranges::all_of(word,
                             [](char c) { return isUpperOrDigit(c) || c == 'l' || c == '|'; }) &&
         std::ranges::none_of(word, isAsciiDigit);
}

/// "IL62704", whose blank was missed.
bool isStateAndCode(const std::string& word) {
  return word.size() == 7 && isAsciiUpper(word[0]) && isAsciiUpper(word[1]) &&
         std::all_of(word.begin() + 2, word.end(), isAsciiDigit);
}

}  // namespace

LetterText textWithAddressLetters(const std::vector<PlacedLetter>& letters) {
  LetterText text;
  std::string previous;
  for (std::size_t begin = 0; begin < letters.size();) {
    const std::size_t end = wordEnd(letters, begin);
    const std::string word = wordAt(letters, begin);
    const auto isDigit = [](char c) { return isAsciiDigit(c); };
    const std::size_t name = word.rfind(',') + 1;
    const bool isPostcode =
        end < letters.size() && isPostcodeBegun(word.substr(name), wordAt(letters, end));
    const bool isZip = isStateAndCode(word);
    const bool followsCode = previous.size() == 4 && std::ranges::all_of(previous, isDigit);
    for (std::size_t i = begin; i < end; ++i) {
      addBreak(text, letters[i]);
      const std::string& letter = letters[i].text;
      const std::size_t at = text.text.size();
      const bool isSharp =
          (text.text.ends_with("tra") && i + 1 < end && letters[i + 1].text == "e" &&
           std::string_view("&B8fRhG$").find(letter) != std::string_view::npos);
      const bool isJ = followsCode && i == begin + 1 && end - begin <= 3 &&
                       std::string_view("])}j").find(letter) != std::string_view::npos &&
                       isAsciiUpper(letters[begin].text.front());
      const bool isRest = followsCode && i == begin + 2 && end - begin == 3 &&
                          std::string_view("])}").find(letter) != std::string_view::npos;
      if (isRest) continue;
      // Two capitals behind a Dutch code, whatever they are.
      if (followsCode && letter == unreadLetter && end - begin <= 3) {
        if (i < begin + 2) text.add("A", static_cast<int>(i));
        continue;
      }
      if (isZip && i == begin + 2) text.addBlank(' ');
      const bool isOne = isPostcode && i > begin + name && std::string_view("Il|").contains(letter);
      const bool isO = letter == "0" && at > 0 && text.text.ends_with("P.");
      text.add(isSharp ? "ß"
               : isJ   ? "J"
               : isO   ? "O"
               : isOne ? "1"
                       : std::string_view(letter),
               static_cast<int>(i));
    }
    // "47,1015": a line's end is a comma where an address stands in one line.
    previous = word.substr(word.rfind(',') + 1);
    begin = end;
  }
  return text;
}

}  // namespace vantorel
