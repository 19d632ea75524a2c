#include "platform/linux/recognition/tesseract_recogniser.hpp"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/linux/language_folder.hpp"
#include "platform/linux/recognition/code_reader.hpp"
#include "platform/linux/recognition/ink_page.hpp"
#include "platform/linux/recognition/letter_fit.hpp"
#include "platform/linux/recognition/torn_words.hpp"

namespace vantorel {
namespace {

using Case = RecognitionFailure::Case;

std::unexpected<RecognitionFailure> readingFailure(Case what, std::string reason = {}) {
  return std::unexpected(RecognitionFailure{what, std::move(reason)});
}

/// White around the page, in pixels of what the engine sees: letters at the very edge are read as
/// well, and no page is too small for it.
constexpr int margin = 24;

/// The pixels that the engine sees at once.
constexpr double largestPage = 14e6;
constexpr int widestPage = 20'000;

/// Parts of a tall picture have this many rows in common: no line of a text is higher than half of
/// them.
constexpr int sharedRows = 240;

/// The enlargement that suits letters as high as that. The engine puts a rim of some pixels around
/// a line and scales both to one height, so that in a low line the letters are the smaller part.
/// What it takes its time for is the width: a little narrower than they are, letters are read as
/// well.
Enlargement enlargementFor(double letterHeight) {
  if (letterHeight <= 0 || letterHeight >= 12) return {};
  if (letterHeight >= 9) return {.across = 1, .down = 1.25};
  if (letterHeight >= 7) return {.across = 1.2, .down = 1.5};
  if (letterHeight >= 5) return {.across = 1.5, .down = 2};
  return {.across = 2.5, .down = 3};
}

/// The row with the least ink among those in the middle of what two parts share.
int emptiestRow(const InkPage& page, int from, int to) {
  int best = (from + to) / 2;
  long least = -1;
  for (int y = from; y < to; ++y) {
    long sum = 0;
    for (int x = 0; x < page.size.width; ++x) sum += page.at(x, y);
    const bool isBetter =
        least < 0 || sum < least ||
        (sum == least && std::abs(2 * y - from - to) < std::abs(2 * best - from - to));
    if (isBetter) {
      least = sum;
      best = y;
    }
  }
  return best;
}

/// Turns places on the engine's page into those on the page before it was enlarged.
class PaperPlace {
 public:
  explicit PaperPlace(Enlargement factor) : factor_(factor) {}

  void move(ReadLine& line) const {
    line.box = onPage(line.box);
    for (ReadWord& word : line.words) {
      word.box = onPage(word.box);
      for (ReadLetter& letter : word.letters) letter.box = onPage(letter.box);
    }
  }

 private:
  [[nodiscard]] PixelRect onPage(const PixelRect& box) const {
    const int left = begin(box.x, factor_.across);
    const int top = begin(box.y, factor_.down);
    return {left, top, std::max(end(box.right(), factor_.across) - left, 1),
            std::max(end(box.bottom(), factor_.down) - top, 1)};
  }
  [[nodiscard]] static int begin(int place, double factor) {
    return static_cast<int>(std::floor((place - margin) / factor));
  }
  [[nodiscard]] static int end(int place, double factor) {
    return static_cast<int>(std::ceil((place - margin) / factor));
  }

  Enlargement factor_;
};

void shift(PixelRect& box, int x, int y) {
  box.x += x;
  box.y += y;
}

void shift(ReadLine& line, int x, int y) {
  shift(line.box, x, y);
  for (ReadWord& word : line.words) {
    shift(word.box, x, y);
    for (ReadLetter& letter : word.letters) shift(letter.box, x, y);
  }
}

/// The color of the ground around a word, that of most of the places beside its corners.
std::optional<int> groundOf(const Image& picture, const InkPage& page, const PixelRect& band,
                            const PixelRect& word) {
  constexpr int beside = 2;
  std::array<int, 3> sums{};
  int places = 0;
  for (const int x : {word.x - beside, word.right() + beside - 1}) {
    for (const int y : {word.y - beside, word.bottom() + beside - 1}) {
      if (x < 0 || y < 0 || x >= page.size.width || y >= page.size.height) continue;
      if (page.at(x, y) > 0) continue;
      const std::uint8_t* const pixel =
          picture.row(band.y + y).data() + static_cast<std::size_t>(band.x + x) * 4;
      for (std::size_t part = 0; part < 3; ++part) sums.at(part) += pixel[part];
      ++places;
    }
  }
  if (places == 0) return std::nullopt;
  // A shade in a coarse scale of three colors.
  int shade = 0;
  for (const int sum : sums) shade = shade * 256 + sum / places;
  return shade;
}

bool isOtherGround(std::optional<int> a, std::optional<int> b) {
  if (!a || !b) return false;
  int distance = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    distance += std::abs((*a >> shift & 255) - (*b >> shift & 255));
  }
  return distance > 36;
}

PixelRect unionOf(const PixelRect& a, const PixelRect& b) {
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

/// The pieces of a line that stand on different grounds, such as a sidebar and the page beside it.
std::vector<ReadLine> piecesOf(ReadLine line, const Image& picture, const InkPage& page,
                               const PixelRect& band) {
  std::vector<ReadLine> pieces;
  std::optional<int> ground;
  for (ReadWord& word : line.words) {
    const std::optional<int> wordGround = groundOf(picture, page, band, word.box);
    const bool isFar = !pieces.empty() && word.box.x - pieces.back().box.right() > line.box.height;
    if (pieces.empty() || (isFar && isOtherGround(ground, wordGround))) {
      pieces.push_back({{}, word.box, line.confidence});
    }
    if (wordGround) ground = wordGround;
    pieces.back().box = unionOf(pieces.back().box, word.box);
    pieces.back().words.push_back(std::move(word));
  }
  if (pieces.size() == 1) pieces.front().box = line.box;
  return pieces;
}

bool areAboveEachOther(const PixelRect& a, const PixelRect& b) {
  return a.x < b.right() && b.x < a.right();
}

/// The lines of a block, those of each panel together.
std::vector<ReadBlock> panelsOf(ReadBlock block, const Image& picture, const InkPage& page,
                                const PixelRect& band) {
  std::vector<ReadBlock> panels;
  for (ReadLine& line : block.lines) {
    std::vector<ReadLine> pieces = piecesOf(std::move(line), picture, page, band);
    const bool isWhole = pieces.size() == 1 && panels.size() == 1;
    for (ReadLine& piece : pieces) {
      const auto panel = std::ranges::find_if(panels, [&](const ReadBlock& other) {
        return isWhole || areAboveEachOther(other.lines.back().box, piece.box);
      });
      ReadBlock& target = panel == panels.end() ? panels.emplace_back() : *panel;
      target.lines.push_back(std::move(piece));
    }
  }
  return panels;
}

bool isSameLine(const ReadLine& a, const ReadLine& b) {
  const PixelRect common = intersection(a.box, b.box);
  if (common.isEmpty()) return false;
  const auto area = [](const PixelRect& box) {
    return static_cast<double>(box.width) * static_cast<double>(box.height);
  };
  return 2 * area(common) > std::min(area(a.box), area(b.box));
}

}  // namespace

std::vector<std::string> TesseractRecogniser::languages() const {
  return languagesIn(languageFolder_);
}

Result<void, RecognitionFailure> TesseractRecogniser::startEngine(
    const std::vector<std::string>& wanted) {
  const std::vector<std::string> installed = languages();
  if (installed.empty())
    return readingFailure(Case::unavailable, "no language for it is installed");
  std::vector<std::string> chosen;
  for (const std::string& language : wanted.empty() ? installed : wanted) {
    const bool isInstalled = std::ranges::find(installed, language) != installed.end();
    const bool isNew = std::ranges::find(chosen, language) == chosen.end();
    if (isInstalled && isNew) chosen.push_back(language);
  }
  if (chosen.empty())
    return readingFailure(Case::unavailable, "none of its languages is installed");
  if (engine_ != nullptr && engine_->languages() == chosen) return {};
  engine_.reset();
  engine_ = VT_TRY(TesseractEngine::start(languageFolder_, chosen));
  return {};
}

Result<std::vector<ReadBlock>, RecognitionFailure> TesseractRecogniser::readText(
    const Image& picture, const PixelRect& area, const ReadingRequest& request,
    const std::stop_token& stop) {
  std::vector<ReadBlock> found;
  // All of a screen of small type is one part, and at twice the points two or three.
  const int bandRows =
      std::clamp(static_cast<int>(largestPage / (3.0 * area.width)), 3 * sharedRows, 8000);
  int ownTop = area.y;
  int top = area.y;
  std::vector<ReadLine> lastLines;
  while (top < area.bottom()) {
    if (stop.stop_requested()) return readingFailure(Case::cancelled);
    const PixelRect band{area.x, top, area.width, std::min(bandRows, area.bottom() - top)};
    const bool isLast = band.bottom() == area.bottom();
    const InkPage page = inkPageOf(picture, band);
    const int ownBottom = isLast ? area.bottom()
                                 : top + emptiestRow(page, band.height - sharedRows * 3 / 4,
                                                     band.height - sharedRows / 4);
    const double letterHeight = letterHeightOn(page);
    if (letterHeight > 0 || request.isOneLine) {
      Enlargement enlargement = enlargementFor(letterHeight);
      if (request.enlargement) {
        const double wanted = std::clamp(*request.enlargement, 0.1, 8.0);
        enlargement = {.across = wanted, .down = wanted};
      }
      const double widest = static_cast<double>(widestPage) / band.width;
      const double highest = largestPage / (enlargement.across * band.width * band.height);
      enlargement.across = std::min(enlargement.across, widest);
      enlargement.down = std::min(enlargement.down, std::max(highest, 0.1));
      const InkPage paper = enlargedPaper(page, enlargement, margin);
      auto blocks = VT_TRY(engine_->read(paper, request.isOneLine, stop));
      const PaperPlace place(enlargement);
      std::vector<ReadBlock> panels;
      std::vector<FittedLine> lines;
      for (ReadBlock& block : blocks) {
        for (ReadLine& line : block.lines) place.move(line);
        for (ReadBlock& panel : panelsOf(std::move(block), picture, page, band)) {
          panels.push_back(std::move(panel));
        }
      }
      for (ReadBlock& panel : panels) {
        for (ReadLine& line : panel.lines) {
          lines.push_back({&line, fitToInk(page, line)});
        }
      }
      joinTornWords(lines);
      std::vector<ReadLine> bandLines;
      for (ReadBlock& panel : panels) {
        ReadBlock kept;
        for (ReadLine& line : panel.lines) {
          if (!request.keepsNoise && !dropNoise(line)) continue;
          shift(line, band.x, band.y);
          // A line belongs to the part that its middle is in. Where two parts meet, it may have
          // been read in both.
          constexpr int slack = 4;
          const int middle = line.box.y + line.box.height / 2;
          if (middle < ownTop - slack || middle >= ownBottom + slack) continue;
          const bool isKnown = std::ranges::any_of(
              lastLines, [&](const ReadLine& other) { return isSameLine(line, other); });
          if (isKnown) continue;
          bandLines.push_back(line);
          kept.lines.push_back(std::move(line));
        }
        if (!kept.lines.empty()) found.push_back(std::move(kept));
      }
      lastLines = std::move(bandLines);
    } else {
      lastLines.clear();
    }
    if (isLast) break;
    ownTop = ownBottom;
    top = ownBottom - sharedRows / 2;
  }
  return found;
}

Result<PictureReading, RecognitionFailure> TesseractRecogniser::readAlone(
    const Image& picture, const ReadingRequest& request, const std::stop_token& stop) {
  PictureReading reading;
  reading.size = picture.size();
  const PixelRect whole{0, 0, picture.width(), picture.height()};
  const PixelRect area = request.area ? intersection(*request.area, whole) : whole;
  if (request.readsText) {
    if (auto started = startEngine(request.languages); !started) {
      return std::unexpected(std::move(started).error());
    }
    if (!area.isEmpty()) reading.blocks = VT_TRY(readText(picture, area, request, stop));
  }
  if (request.readsCodes && !area.isEmpty()) reading.codes = codesIn(picture, area, stop);
  if (stop.stop_requested()) return readingFailure(Case::cancelled);
  return reading;
}

Result<PictureReading, RecognitionFailure> TesseractRecogniser::read(const Image& picture,
                                                                     const ReadingRequest& request,
                                                                     const std::stop_token& stop) {
  {
    std::unique_lock lock(mutex_);
    if (!turn_.wait(lock, stop, [this] { return !isReading_; }))
      return readingFailure(Case::cancelled);
    isReading_ = true;
  }
  const auto answer = [&]() -> Result<PictureReading, RecognitionFailure> {
    try {
      return readAlone(picture, request, stop);
    } catch (const std::bad_alloc&) {
      return readingFailure(Case::failed, "memory ran out");
    } catch (const std::exception& error) {
      return readingFailure(Case::failed, error.what());
    }
  }();
  {
    const std::scoped_lock lock(mutex_);
    isReading_ = false;
  }
  turn_.notify_one();
  return answer;
}

void TesseractRecogniser::release() {
  const std::scoped_lock lock(mutex_);
  if (isReading_ || engine_ == nullptr) return;
  engine_.reset();
  // Its many small pieces would stay with the process otherwise.
  ::malloc_trim(0);
}

}  // namespace vantorel
