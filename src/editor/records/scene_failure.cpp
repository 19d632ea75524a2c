#include "editor/records/scene_failure.hpp"

#include <fmt/format.h>

#include <utility>

#include "editor/records/output_failure.hpp"

namespace vantorel {

std::string sentence(const SceneFailure& failure) {
  using enum SceneFailure::Case;
  switch (failure.what) {
    case blocked: return sentence(failure.block);
    case noMemory: return "There is not enough memory to draw the image.";
    case tooLarge:
      return fmt::format("An image of {} × {} px is too large for {}.", failure.size.width,
                         failure.size.height, displayName(failure.format));
    case notEncoded:
      return fmt::format("Couldn't export: {} ({}).", sentence(OutputFailure::notWritten),
                         failure.reason);
    case noDrawing:
      return fmt::format("The part of Vantorel that draws pictures {}.", failure.reason);
  }
  std::unreachable();
}

}  // namespace vantorel
