#pragma once

#include <string>
#include <variant>

#include "app/capture_annotator.hpp"
#include "platform/text_recogniser.hpp"

namespace vantorel {

/// Why a capture was not looked through, or its redaction not changed, where no other part of it is
/// the reason.
struct RedactionFault {
  enum class Case {
    noPicture,         ///< a recording or a text
    notRedacted,       ///< nothing was covered in its file
    alreadyUncovered,  ///< what was covered in it is not any more
    alreadyRedacted,   ///< what could be covered again is
    originalGone,      ///< `reason` says why
    notWritten,        ///< `reason` says why
  };
  Case what = Case::notRedacted;
  std::string reason{};
};

using RedactionFailure = std::variant<RedactionFault, RecognitionFailure, AnnotationFailure>;

[[nodiscard]] std::string sentence(const RedactionFault& fault);
[[nodiscard]] std::string sentence(const RedactionFailure& failure);

}  // namespace vantorel
