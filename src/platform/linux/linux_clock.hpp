#pragma once

#include "platform/clock.hpp"

namespace vantorel {

/// The system's clocks. Any thread.
class LinuxClock final : public Clock {
 public:
  [[nodiscard]] double now() const override;
  [[nodiscard]] std::chrono::nanoseconds monotonic() const override;
};

}  // namespace vantorel
