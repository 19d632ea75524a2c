#include "platform/linux/recognition/recognition_module.hpp"

#include <memory>

#include "platform/linux/recognition/tesseract_recogniser.hpp"

extern "C" __attribute__((visibility("default"))) vantorel::TextRecogniser* vantorelTextRecogniser(
    const vantorel::Path& languageFolder) {
  return std::make_unique<vantorel::TesseractRecogniser>(languageFolder).release();
}
