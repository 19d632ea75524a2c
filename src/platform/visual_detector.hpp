#pragma once

#include <stop_token>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"

namespace vantorel {

/// Finds faces and people in pictures. Any thread; calls block, up to seconds for a large picture.
/// A detector that cannot run (its model is not installed) fails with `unsupported`, one that was
/// stopped with `cancelled`.
class VisualDetector {
 public:
  virtual ~VisualDetector() = default;

  /// Where they are, in pixels of the picture.
  [[nodiscard]] virtual Result<std::vector<PixelRect>> faces(const Image& picture,
                                                             const std::stop_token& stop) = 0;
  [[nodiscard]] virtual Result<std::vector<PixelRect>> people(const Image& picture,
                                                              const std::stop_token& stop) = 0;
};

}  // namespace vantorel
