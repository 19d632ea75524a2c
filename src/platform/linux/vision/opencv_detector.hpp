#pragma once

#include <utility>

#include "platform/files.hpp"
#include "platform/visual_detector.hpp"

namespace vantorel {

class OpenCVDetector final : public VisualDetector {
 public:
  explicit OpenCVDetector(Path modelFolder) : modelFolder_(std::move(modelFolder)) {}

  [[nodiscard]] Result<std::vector<PixelRect>> faces(const Image& picture,
                                                     const std::stop_token& stop) override;
  [[nodiscard]] Result<std::vector<PixelRect>> people(const Image& picture,
                                                      const std::stop_token& stop) override;

 private:
  const Path modelFolder_;
};

}  // namespace vantorel
