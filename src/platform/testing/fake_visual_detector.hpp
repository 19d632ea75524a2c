#pragma once

#include <vector>

#include "platform/visual_detector.hpp"

namespace vantorel {

/// Sees what a test wants it to see. One thread.
class FakeVisualDetector final : public VisualDetector {
 public:
  using Answer = Result<std::vector<PixelRect>>;

  Answer facesSeen{std::vector<PixelRect>{}};
  Answer peopleSeen{std::vector<PixelRect>{}};

  [[nodiscard]] Answer faces(const Image&, const std::stop_token&) override { return facesSeen; }
  [[nodiscard]] Answer people(const Image&, const std::stop_token&) override { return peopleSeen; }
};

}  // namespace vantorel
