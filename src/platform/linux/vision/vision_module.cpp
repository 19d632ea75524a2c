#include "platform/linux/vision/vision_module.hpp"

#include <memory>

#include "platform/linux/vision/opencv_detector.hpp"

extern "C" __attribute__((visibility("default"))) vantorel::VisualDetector* vantorelVisualDetector(
    const vantorel::Path& modelFolder) {
  return std::make_unique<vantorel::OpenCVDetector>(modelFolder).release();
}
