#pragma once

#include <functional>
#include <variant>
#include <vector>

#include "base/image.hpp"
#include "editor/records/shape.hpp"
#include "text/records/visual_detectors.hpp"

namespace vantorel {

/// What came of looking for sensitive content in a capture before it is published.
struct CaptureRedaction {
  /// There is nothing to cover.
  struct Clean {};

  /// `image` is the capture with everything covered, `shapes` the redactions that cover it.
  struct Baked {
    Image image;
    std::vector<Shape> shapes;
  };

  /// It stays private, and is tried again at the next launch. `reason` is a clause.
  struct Failed {
    std::string reason;
  };

  std::variant<Clean, Baked, Failed> value;
  VisualDetectors unavailable{};  ///< that were to look and could not
};

/// Looks through a capture of `pixelsPerPoint`. Called on the main runner, and answers there, once.
using RedactCapture = std::function<void(Image capture, double pixelsPerPoint,
                                         std::move_only_function<void(CaptureRedaction)> redacted)>;

}  // namespace vantorel
