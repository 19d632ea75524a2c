#include "platform/linux/linux_text_recogniser.hpp"

#include <fmt/format.h>

#include "platform/linux/language_folder.hpp"
#include "platform/linux/program_module.hpp"
#include "platform/linux/recognition/recognition_module.hpp"

namespace vantorel {
namespace {

Path recognitionModule() { return modulesFolder() / "libvantorel_recognition.so"; }

}  // namespace

Result<TextRecogniser*, RecognitionFailure> LinuxTextRecogniser::recogniser() {
  const std::scoped_lock lock(mutex_);
  if (loaded_ != nullptr) return loaded_.get();
  const Path folder = languageFolder();
  if (folder.empty()) {
    return std::unexpected(RecognitionFailure{RecognitionFailure::Case::unavailable,
                                              "no language for it is installed"});
  }
  const auto entry = moduleEntry(recognitionModule(), recognitionModuleEntryName);
  if (!entry) {
    return std::unexpected(
        RecognitionFailure{RecognitionFailure::Case::unavailable,
                           fmt::format("what reads text {}", entry.error().reason)});
  }
  loaded_.reset(reinterpret_cast<RecognitionModuleEntry>(*entry)(folder));
  return loaded_.get();
}

Result<PictureReading, RecognitionFailure> LinuxTextRecogniser::read(const Image& picture,
                                                                     const ReadingRequest& request,
                                                                     const std::stop_token& stop) {
  TextRecogniser* const reader = VT_TRY(recogniser());
  return reader->read(picture, request, stop);
}

std::vector<std::string> LinuxTextRecogniser::languages() const {
  return languagesIn(languageFolder());
}

void LinuxTextRecogniser::release() {
  const std::scoped_lock lock(mutex_);
  if (loaded_ == nullptr) return;
  loaded_->release();
  restModule(recognitionModule());
}

}  // namespace vantorel
