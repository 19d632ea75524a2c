#include "platform/linux/vision/vision_module.hpp"

#include "platform/linux/vision/opencv_detector.hpp"

extern "C" __attribute__((visibility("default"))) std::unique_ptr<vantorel::VisualDetector>
vantorelVisualDetector(const vantorel::Path& modelFolder) {
  return std::make_unique<vantorel::OpenCVDetector>(modelFolder);
}
