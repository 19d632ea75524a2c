#include "platform/linux/linux_visual_detector.hpp"

#include <fmt/format.h>

#include "platform/linux/program_module.hpp"
#include "platform/linux/vision/vision_module.hpp"

namespace vantorel {

Result<VisualDetector*> LinuxVisualDetector::detector() {
  const std::scoped_lock lock(mutex_);
  if (loaded_ != nullptr) return loaded_.get();
  const auto entry = moduleEntry(modulesFolder() / "libvantorel_vision.so", visionModuleEntryName);
  if (!entry) {
    return failed(FailureKind::unsupported,
                  fmt::format("what finds faces and people {}", entry.error().reason));
  }
  loaded_.reset(reinterpret_cast<VisionModuleEntry>(*entry)(modelFolder_));
  return loaded_.get();
}

Result<std::vector<PixelRect>> LinuxVisualDetector::faces(const Image& picture,
                                                          const std::stop_token& stop) {
  VisualDetector* const found = VT_TRY(detector());
  return found->faces(picture, stop);
}

Result<std::vector<PixelRect>> LinuxVisualDetector::people(const Image& picture,
                                                           const std::stop_token& stop) {
  VisualDetector* const found = VT_TRY(detector());
  return found->people(picture, stop);
}

}  // namespace vantorel
