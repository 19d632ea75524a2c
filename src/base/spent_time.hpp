#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace vantorel {

/// Adds up how long one part of a piece of work takes, over all threads that do it. Any thread.
class SpentTime {
 public:
  /// Runs `part` and gives what it gives.
  template <class Part>
  decltype(auto) measure(Part&& part) {
    struct Adding {
      SpentTime& to;
      std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
      ~Adding() { to.nanoseconds_ += (std::chrono::steady_clock::now() - start).count(); }
    } const adding{*this};
    return part();
  }

  [[nodiscard]] double milliseconds() const {
    return static_cast<double>(nanoseconds_.load()) / 1e6;
  }

 private:
  std::atomic<std::int64_t> nanoseconds_ = 0;
};

}  // namespace vantorel
