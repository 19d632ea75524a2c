#include "text/smart_redact.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "base/log.hpp"
#include "text/code_points.hpp"
#include "text/ink_box.hpp"
#include "text/letter_text.hpp"
#include "text/picture_text.hpp"
#include "text/secret_runs.hpp"

namespace vantorel {
namespace {

using Letters = std::vector<PlacedLetter>;

/// Lines that are read twice at most: some 50 ms each.
constexpr std::size_t mostSecondReadings = 60;

PixelRect around(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

PixelRect grown(const PixelRect& rect, int by, PixelSize size) {
  return intersection({rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by},
                      {0, 0, size.width, size.height});
}

/// Something found, with a box for each line it lies in.
struct Find {
  SensitiveMatchKind kind;
  std::vector<PixelRect> boxes;
  std::string text;
};

/// What is found in the letters of one reading.
class LetterScan {
 public:
  LetterScan(const Image& picture, Letters letters, const SensitiveTextDetector& detector)
      : picture_(picture), letters_(std::move(letters)) {
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

  [[nodiscard]] std::vector<Find> finds() const {
    std::vector<Find> finds;
    for (const LetterFind& found : found_) {
      Find find{.kind = found.kind, .boxes = {}, .text = {}};
      std::map<int, PixelRect> lines;
      int previous = -2;
      for (const int i : found.letters) {
        const PlacedLetter& letter = letters_[static_cast<std::size_t>(i)];
        PixelRect& box = lines[letter.line];
        box = around(box, letter.box);
        if (!find.text.empty() && (letter.beginsWord || i != previous + 1)) find.text += ' ';
        find.text += letter.text;
        previous = i;
      }
      for (const auto& [line, box] : lines) find.boxes.push_back(coverOf(found.letters, line, box));
      finds.push_back(std::move(find));
    }
    return finds;
  }

  /// The lines in which something may have been misread, as they lie in the picture.
  [[nodiscard]] std::vector<PixelRect> doubtfulLines() const {
    std::map<int, PixelRect> boxes;
    for (const PlacedLetter& letter : letters_) {
      PixelRect& box = boxes[letter.line];
      box = around(box, letter.box);
    }
    std::vector<PixelRect> lines;
    for (const auto& [line, box] : boxes) {
      if (doubtful_.contains(line) || looksDoubtful(line)) lines.push_back(box);
    }
    return lines;
  }

 private:
  /// Of finds that share letters, the first stays; the other as far as it has letters of its own.
  /// Of a commit or a file, with a letter that was misread: encoded bytes are rarely digits and the
  /// first letters of the alphabet.
  [[nodiscard]] static bool isHash(const SensitiveMatch& match, std::string_view text) {
    if (match.kind != SensitiveMatchKind::hexSecret || match.range.length() > 44) return false;
    const std::string_view letters = text.substr(match.range.begin, match.range.length());
    const auto hex = std::ranges::count_if(letters, [](char c) {
      return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    });
    return static_cast<std::size_t>(hex) * 20 >= letters.size() * 17;
  }

  void add(SensitiveMatchKind kind, std::vector<int> letters) {
    if (kind >= SensitiveMatchKind::jwt) toWordEnd(letters);
    LetterFind find{.kind = kind, .letters = {}};
    for (const int letter : letters) {
      if (taken_.insert(letter).second) find.letters.push_back(letter);
    }
    const bool says = std::ranges::any_of(find.letters, [&](int i) {
      const std::string& text = letters_[static_cast<std::size_t>(i)].text;
      return text.size() > 1 || isAsciiAlnum(text.front());
    });
    if (!says) return;
    // More letters of the same secret belong to it.
    if (find.letters.size() < letters.size()) {
      for (LetterFind& other : found_) {
        const bool touches = other.kind == kind && std::ranges::any_of(letters, [&](int i) {
                               return std::ranges::find(other.letters, i) != other.letters.end();
                             });
        if (!touches) continue;
        other.letters.insert(other.letters.end(), find.letters.begin(), find.letters.end());
        std::ranges::sort(other.letters);
        return;
      }
    }
    found_.push_back(std::move(find));
  }

  /// What a token ends in may have been misread as something that ends it.
  void toWordEnd(std::vector<int>& letters) const {
    constexpr std::string_view ends = "\"',;<>&";
    for (auto i = static_cast<std::size_t>(letters.back()) + 1;
         i < letters_.size() && !letters_[i].beginsWord && !letters_[i].beginsLine &&
         ends.find(letters_[i].text) == ends.npos;
         ++i) {
      letters.push_back(static_cast<int>(i));
    }
  }

  [[nodiscard]] PixelRect coverOf(const std::vector<int>& letters, int line,
                                  const PixelRect& box) const {
    std::vector<PixelRect> others;
    PixelRect whole;
    int lineAbove = 0;
    int lineBelow = picture_.height();
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      const PixelRect& letter = letters_[i].box;
      if (letters_[i].line != line) {
        if (letter.right() <= box.x || letter.x >= box.right()) continue;
        if (letter.bottom() <= box.y) lineAbove = std::max(lineAbove, letter.bottom());
        if (letter.y >= box.bottom()) lineBelow = std::min(lineBelow, letter.y);
        continue;
      }
      whole = around(whole, letters_[i].box);
      if (!std::ranges::binary_search(letters, static_cast<int>(i))) {
        others.push_back(letters_[i].box);
      }
    }
    // As high as all the line's letters: a glyph whose height was misjudged is covered all the
    // same.
    const int tallest = std::min(whole.height, box.height * 2);
    const int top = std::max(whole.y, box.y - (tallest - box.height));
    const int bottom = std::min(whole.bottom(), box.bottom() + (tallest - box.height));
    const PixelRect ink = inkBox(picture_, {box.x, top, box.width, bottom - top}, others);
    // A sixth of the letters' height, three pixels at least; where lines touch each other, their
    // ink does too, and what the next line says is not this one's.
    const PixelRect cover = grown(ink, std::max(3, box.height / 6), picture_.size());
    const int coverTop = std::max(cover.y, lineAbove);
    const int coverBottom = std::min(cover.bottom(), lineBelow);
    return {cover.x, coverTop, cover.width, coverBottom - coverTop};
  }

  /// Whether a word of the line is long and mixed enough for a secret, or has the sign of an
  /// address beside it, or is a row of digits, and none of it was found.
  [[nodiscard]] bool looksDoubtful(int line) const {
    std::string word;
    std::size_t digits = 0;
    bool isFound = false;
    const auto isLong = [&] {
      constexpr std::size_t longWord = 16;
      return word.size() >= longWord && std::ranges::any_of(word, isAsciiDigit) &&
             std::ranges::any_of(word, isAsciiLetter);
    };
    bool doubtful = false;
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      const PlacedLetter& letter = letters_[i];
      if (letter.line != line) continue;
      if (letter.beginsWord || letter.beginsLine) {
        doubtful = doubtful || isLong();
        word.clear();
      }
      word += letter.text;
      digits += isAsciiDigit(letter.text.front()) ? 1 : 0;
      isFound = isFound || taken_.contains(static_cast<int>(i));
      doubtful = doubtful || letter.text == "@" || letter.text == "©" || letter.text == "®";
    }
    constexpr std::size_t manyDigits = 7;
    return doubtful || isLong() || (!isFound && digits >= manyDigits);
  }

  const Image& picture_;
  Letters letters_;
  std::vector<LetterFind> found_;
  std::set<int> taken_;
  std::set<int> doubtful_;
};

bool covers(const PixelRect& cover, const PixelRect& box) {
  const PixelRect common = intersection(cover, box);
  return static_cast<double>(common.width) * common.height >=
         0.6 * static_cast<double>(box.width) * box.height;
}

/// Adds what a second reading found: what is covered already makes the cover larger.
void merge(std::vector<Find>& finds, const std::vector<Find>& more) {
  for (const Find& found : more) {
    Find left{.kind = found.kind, .boxes = {}, .text = found.text};
    for (const PixelRect& box : found.boxes) {
      bool isKnown = false;
      for (Find& known : finds) {
        for (PixelRect& cover : known.boxes) {
          const bool meets = covers(cover, box) || (known.kind == found.kind && covers(box, cover));
          if (!meets || isKnown) continue;
          cover = around(cover, box);
          isKnown = true;
        }
      }
      if (!isKnown) left.boxes.push_back(box);
    }
    if (!left.boxes.empty()) finds.push_back(std::move(left));
  }
}

/// The name and the password of a wireless network.
bool isNetworkCode(std::string_view payload) { return payload.starts_with("WIFI:"); }

Box boxOf(const PixelRect& rect) {
  return {static_cast<double>(rect.x), static_cast<double>(rect.y), static_cast<double>(rect.width),
          static_cast<double>(rect.height)};
}

}  // namespace

SmartRedact::Report SmartRedact::report(const Outcome& outcome, VisualDetectors enabled) {
  Report report{.visualEnabled = !enabled.isEmpty(), .unavailable = outcome.unavailable};
  std::set<int> finds;
  for (const Proposal& proposal : outcome.proposals) {
    if (!finds.insert(proposal.match).second) continue;
    switch (proposal.kind) {
      case SensitiveMatchKind::face: ++report.faces; break;
      case SensitiveMatchKind::person: ++report.people; break;
      default: ++report.text; break;
    }
  }
  return report;
}

auto SmartRedact::run(const Image& picture, double pixelsPerPoint, VisualDetectors enabled,
                      const std::stop_token& stop) const -> Result<Outcome, RecognitionFailure> {
  const auto cancelled = [] {
    return std::unexpected(RecognitionFailure{RecognitionFailure::Case::cancelled});
  };
  ReadingRequest request;
  request.pixelsPerPoint = pixelsPerPoint;
  const PictureReading read = VT_TRY(services_.recogniser->read(picture, request, stop));
  const LetterScan scan(picture, placedLetters(read), *services_.detector);
  std::vector<Find> finds = scan.finds();

  std::vector<PixelRect> doubtful = scan.doubtfulLines();
  if (doubtful.size() > mostSecondReadings) {
    logWarning("Text", "{} lines were read once that might be read twice",
               doubtful.size() - mostSecondReadings);
    doubtful.resize(mostSecondReadings);
  }
  for (const PixelRect& line : doubtful) {
    ReadingRequest again = request;
    const int height = std::max(line.height, 1);
    again.area = grown(line, std::max(3, height / 3), picture.size());
    again.isOneLine = true;
    again.readsCodes = false;
    constexpr double tall = 52;  // pixels, half as much again as a page is enlarged to
    again.enlargement = std::clamp(tall / height, 1.0, 5.0);
    const auto second = services_.recogniser->read(picture, again, stop);
    if (stop.stop_requested()) return cancelled();
    if (!second) {
      logWarning("Text", "a second reading: {}", sentence(second.error()));
      continue;
    }
    merge(finds, LetterScan(picture, placedLetters(*second), *services_.detector).finds());
  }

  Outcome outcome;
  int count = 0;
  const auto propose = [&](SensitiveMatchKind kind, const std::vector<PixelRect>& boxes,
                           const std::string& text) {
    for (const PixelRect& box : boxes) {
      if (!box.isEmpty()) outcome.proposals.push_back({kind, boxOf(box), count, text});
    }
    ++count;
  };
  for (const Find& find : finds) propose(find.kind, find.boxes, find.text);
  for (const ReadCode& code : read.codes) {
    const auto matches = services_.detector->matches(code.payload);
    const bool isNetwork = isNetworkCode(code.payload);
    if (matches.empty() && !isNetwork) continue;
    // The quiet zone around a code is told by its own size.
    const int margin = std::max(2, std::max(code.box.width, code.box.height) / 40);
    propose(isNetwork ? SensitiveMatchKind::hexSecret : matches.front().kind,
            {grown(code.box, margin, picture.size())}, code.payload);
  }

  const auto look = [&](VisualDetectors which, SensitiveMatchKind kind, auto detect) -> bool {
    if (!enabled.contains(which)) return true;
    if (services_.visual == nullptr) {
      outcome.unavailable |= which;
      return true;
    }
    const Result<std::vector<PixelRect>> seen = detect(*services_.visual);
    if (!seen) {
      if (seen.error().kind == FailureKind::cancelled) return false;
      logWarning("Text", "{}: {}", nameOf(kind), seen.error().reason);
      outcome.unavailable |= which;
      return true;
    }
    for (const PixelRect& rect : *seen) propose(kind, {grown(rect, 0, picture.size())}, {});
    return true;
  };
  const bool isWhole = look(VisualDetectors::faces, SensitiveMatchKind::face,
                            [&](VisualDetector& visual) { return visual.faces(picture, stop); }) &&
                       look(VisualDetectors::people, SensitiveMatchKind::person,
                            [&](VisualDetector& visual) { return visual.people(picture, stop); });
  if (!isWhole || stop.stop_requested()) return cancelled();

  PictureText text = pictureText(read);
  Reading reading{.blocks = std::move(text.blocks),
                  .lines = {},
                  .text = std::move(text.text),
                  .codes = std::move(text.codes),
                  .isTruncated = text.isTruncated};
  for (const OCRBlock& block : reading.blocks) {
    reading.lines.insert(reading.lines.end(), block.lines.begin(), block.lines.end());
  }
  outcome.reading = std::move(reading);
  return outcome;
}

}  // namespace vantorel
