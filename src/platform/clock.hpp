#pragma once

#include <chrono>

namespace vantorel {

/// The time. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Seconds since 1970-01-01 UTC; may jump when the user sets the time.
  [[nodiscard]] virtual double now() const = 0;

  /// Since some fixed moment; never jumps.
  [[nodiscard]] virtual std::chrono::nanoseconds monotonic() const = 0;
};

}  // namespace vantorel
