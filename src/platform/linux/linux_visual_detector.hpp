#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "platform/files.hpp"
#include "platform/visual_detector.hpp"

namespace vantorel {

/// Detects with the module "../lib/vantorel/libvantorel_vision.so", which the first picture loads,
/// and the models that the system has in `modelFolder`.
class LinuxVisualDetector final : public VisualDetector {
 public:
  explicit LinuxVisualDetector(Path modelFolder = "/usr/share/opencv4/haarcascades")
      : modelFolder_(std::move(modelFolder)) {}

  [[nodiscard]] Result<std::vector<PixelRect>> faces(const Image& picture,
                                                     const std::stop_token& stop) override;
  [[nodiscard]] Result<std::vector<PixelRect>> people(const Image& picture,
                                                      const std::stop_token& stop) override;

 private:
  [[nodiscard]] Result<VisualDetector*> detector();

  const Path modelFolder_;
  std::mutex mutex_;
  std::unique_ptr<VisualDetector> loaded_;
};

}  // namespace vantorel
