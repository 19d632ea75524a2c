#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/files.hpp"
#include "platform/linux/recognition/ink_page.hpp"
#include "platform/text_recogniser.hpp"
#include "text/records/picture_reading.hpp"

namespace tesseract {
class TessBaseAPI;
}

namespace vantorel {

/// Reads black letters on white. One thread at a time; takes some 60 MB while it lives.
class TesseractEngine {
 public:
  /// `languages` lie in `folder`.
  [[nodiscard]] static Result<std::unique_ptr<TesseractEngine>, RecognitionFailure> start(
      const Path& folder, const std::vector<std::string>& languages);

  ~TesseractEngine();
  TesseractEngine(const TesseractEngine&) = delete;
  TesseractEngine& operator=(const TesseractEngine&) = delete;

  [[nodiscard]] const std::vector<std::string>& languages() const { return languages_; }

  /// The blocks on the page, boxes in its pixels. What is no word of one line alone is not marked
  /// as noise.
  [[nodiscard]] Result<std::vector<ReadBlock>, RecognitionFailure> read(
      const InkPage& paper, bool isOneLine, const std::stop_token& stop);

 private:
  TesseractEngine(std::unique_ptr<tesseract::TessBaseAPI> api, std::vector<std::string> languages);

  std::unique_ptr<tesseract::TessBaseAPI> api_;
  std::vector<std::string> languages_;
};

}  // namespace vantorel
