#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "text/letter_text.hpp"
#include "text/reading_lines.hpp"
#include "text/records/sensitive_match.hpp"
#include "text/secret_runs.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {

/// Something found in a picture, with what covers it in each line that it lies in.
struct CoveredFind {
  SensitiveMatchKind kind = SensitiveMatchKind::email;
  std::vector<PixelRect> boxes;
  std::string text;  ///< as it was read
};

/// What is found in the letters of one reading.
class LetterScan {
 public:
  /// A line in which something may have been misread, as it lies in the picture.
  struct DoubtfulLine {
    int line = 0;
    PixelRect box;
  };

  /// Of a whole picture, which outlives this.
  LetterScan(const Image& picture, std::vector<PlacedLetter> letters,
             const SensitiveTextDetector& detector);

  /// Of another reading of a line of `page`, which outlives this: what is covered stays in the
  /// line.
  LetterScan(const LetterScan& page, int line, std::vector<PlacedLetter> letters,
             const SensitiveTextDetector& detector);

  [[nodiscard]] std::vector<CoveredFind> finds() const;

  /// The most doubtful ones first.
  [[nodiscard]] std::vector<DoubtfulLine> doubtfulLines() const;

 private:
  void scan(const SensitiveTextDetector& detector);
  void add(SensitiveMatchKind kind, std::vector<int> letters);
  [[nodiscard]] bool wasHash(const std::vector<int>& letters) const;
  void toWordBegin(SensitiveMatchKind kind, std::vector<int>& letters) const;
  [[nodiscard]] bool lacksDigits(const std::vector<int>& letters) const;
  void toWordEnd(SensitiveMatchKind kind, std::vector<int>& letters) const;
  [[nodiscard]] PixelRect coverOf(const LetterFind& find, int line, const PixelRect& box) const;
  [[nodiscard]] int doubtIn(int line) const;

  const Image& picture_;
  std::vector<PlacedLetter> letters_;
  ReadingLines lines_;
  const LetterScan* page_ = nullptr;  ///< null: this is of a whole picture
  int lineOfPage_ = 0;
  std::vector<LetterFind> found_;
  std::vector<int> owners_;  ///< of each letter the find it belongs to, -1: none
  std::set<int> doubtful_;   ///< lines
};

}  // namespace vantorel
