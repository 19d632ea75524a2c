#include "app/redaction_failure.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {

std::string sentence(const RedactionFault& fault) {
  using enum RedactionFault::Case;
  switch (fault.what) {
    case noPicture:
      return "Only pictures can be looked through. For a text: vantorel redact scan --text FILE.";
    case notRedacted:
      return "Smart Redact covered nothing in this capture when it was taken. Redactions drawn on "
             "it are taken away in Annotate.";
    case alreadyUncovered: return "What Smart Redact covered in this capture is uncovered already.";
    case alreadyRedacted: return "What Smart Redact covered in this capture is covered.";
    case originalGone:
      return fmt::format("The capture's original couldn't be read: {}.", fault.reason);
    case notWritten: return fmt::format("The capture couldn't be changed: {}.", fault.reason);
  }
  std::unreachable();
}

std::string sentence(const RedactionFailure& failure) {
  return std::visit([](const auto& one) { return sentence(one); }, failure);
}

}  // namespace vantorel
