#include "platform/text_recogniser.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {

std::string sentence(const RecognitionFailure& failure) {
  switch (failure.what) {
    case RecognitionFailure::Case::unavailable:
      return fmt::format("Text can't be read here: {}.", failure.reason);
    case RecognitionFailure::Case::cancelled: return "Reading the text was stopped.";
    case RecognitionFailure::Case::failed:
      return fmt::format("The text couldn't be read: {}.", failure.reason);
  }
  std::unreachable();
}

}  // namespace vantorel
