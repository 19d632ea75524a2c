#pragma once

#include <memory>
#include <mutex>

#include "platform/text_recogniser.hpp"

namespace vantorel {

/// Reads with the module "../lib/vantorel/libvantorel_recognition.so", which the first reading
/// loads.
class LinuxTextRecogniser final : public TextRecogniser {
 public:
  [[nodiscard]] Result<PictureReading, RecognitionFailure> read(
      const Image& picture, const ReadingRequest& request, const std::stop_token& stop) override;
  [[nodiscard]] std::vector<std::string> languages() const override;
  void release() override;

 private:
  [[nodiscard]] Result<TextRecogniser*, RecognitionFailure> recogniser();

  std::mutex mutex_;
  std::unique_ptr<TextRecogniser> loaded_;
};

}  // namespace vantorel
