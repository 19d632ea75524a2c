#include "capture/records/capture_target.hpp"

namespace vantorel {

std::chrono::seconds lengthOf(CaptureDelay delay) {
  switch (delay) {
    case CaptureDelay::none: return std::chrono::seconds(0);
    case CaptureDelay::three: return std::chrono::seconds(3);
    case CaptureDelay::five: return std::chrono::seconds(5);
    case CaptureDelay::ten: return std::chrono::seconds(10);
  }
  std::unreachable();
}

CaptureDelay delayOfSeconds(std::int64_t seconds) {
  for (const auto& entry : enumNames<CaptureDelay>) {
    if (lengthOf(entry.value).count() == seconds) return entry.value;
  }
  return CaptureDelay::none;
}

}  // namespace vantorel
