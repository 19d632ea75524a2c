#include "text/smart_redact.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "base/log.hpp"
#include "text/letter_scan.hpp"
#include "text/letter_text.hpp"
#include "text/picture_text.hpp"

namespace vantorel {
namespace {

/// Lines that are read twice at most, some 50 ms each: so many for a screen, and a tall page is as
/// many screens as it has room for.
std::size_t mostSecondReadings(PixelSize picture) {
  constexpr double screen = 1920.0 * 1080;
  constexpr double each = 60;
  return static_cast<std::size_t>(each *
                                  std::max(1.0, double(picture.width) * picture.height / screen));
}

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

using Finds = std::vector<CoveredFind>;

bool covers(const PixelRect& cover, const PixelRect& box) {
  const PixelRect common = intersection(cover, box);
  return static_cast<double>(common.width) * common.height >=
         0.6 * static_cast<double>(box.width) * box.height;
}

/// Adds what a second reading found: what is covered already makes the cover larger.
void merge(Finds& finds, const Finds& more) {
  for (const CoveredFind& found : more) {
    CoveredFind left{.kind = found.kind, .boxes = {}, .text = found.text};
    for (const PixelRect& box : found.boxes) {
      bool isKnown = false;
      for (CoveredFind& known : finds) {
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
  request.keepsNoise = true;
  const PictureReading read = VT_TRY(services_.recogniser->read(picture, request, stop));
  const LetterScan scan(picture, placedLetters(read), *services_.detector);
  Finds finds = scan.finds();

  std::vector<LetterScan::DoubtfulLine> doubtful = scan.doubtfulLines();
  if (const std::size_t most = mostSecondReadings(picture.size()); doubtful.size() > most) {
    logWarning("Text", "{} lines were read once that might be read twice", doubtful.size() - most);
    doubtful.resize(most);
  }
  for (const auto& [line, box] : doubtful) {
    ReadingRequest again = request;
    const int height = std::max(box.height, 1);
    again.area = grown(box, std::max(3, height / 3), picture.size());
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
    merge(finds, LetterScan(scan, line, placedLetters(*second), *services_.detector).finds());
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
  for (const CoveredFind& find : finds) propose(find.kind, find.boxes, find.text);
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

  PictureText text = pictureText(withoutNoise(read));
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
