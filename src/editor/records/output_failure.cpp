#include "editor/records/output_failure.hpp"

#include <utility>

namespace vantorel {

std::string sentence(OutputFailure failure) {
  switch (failure) {
    case OutputFailure::notWritten: return "the image couldn't be encoded or written";
    case OutputFailure::clipboardRefused: return "the clipboard wouldn't take the image";
    case OutputFailure::notReadable: return "the capture couldn't be read as an image";
    case OutputFailure::notPrepared: return "the image couldn't be prepared";
    case OutputFailure::entryLeft:
      return "a drag out landed after its capture left History; the dropped copy was left in place";
    case OutputFailure::notConfirmed: return "Publish wasn't confirmed";
  }
  std::unreachable();
}

}  // namespace vantorel
