#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/files.hpp"
#include "platform/linux/recognition/tesseract_engine.hpp"
#include "platform/text_recogniser.hpp"

namespace vantorel {

class TesseractRecogniser final : public TextRecogniser {
 public:
  explicit TesseractRecogniser(Path languageFolder) : languageFolder_(std::move(languageFolder)) {}

  [[nodiscard]] Result<PictureReading, RecognitionFailure> read(
      const Image& picture, const ReadingRequest& request, const std::stop_token& stop) override;
  [[nodiscard]] std::vector<std::string> languages() const override;
  void release() override;

 private:
  [[nodiscard]] Result<PictureReading, RecognitionFailure> readAlone(const Image& picture,
                                                                     const ReadingRequest& request,
                                                                     const std::stop_token& stop);
  [[nodiscard]] Result<std::vector<ReadBlock>, RecognitionFailure> readText(
      const Image& picture, const PixelRect& area, const ReadingRequest& request,
      const std::stop_token& stop);
  [[nodiscard]] Result<void, RecognitionFailure> startEngine(
      const std::vector<std::string>& wanted);

  const Path languageFolder_;
  std::mutex mutex_;
  std::condition_variable_any turn_;
  bool isReading_ = false;
  std::unique_ptr<TesseractEngine> engine_;
};

}  // namespace vantorel
