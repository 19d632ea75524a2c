#pragma once

#include <atomic>
#include <cstdint>

/// What turns of an event loop took, in nanoseconds, since somebody set it to 0.
struct LoopHolds {
  std::atomic<std::uint64_t> longest;           ///< turn, by the clock
  std::atomic<std::uint64_t> longestProcessor;  ///< turn, of the main thread's own time
  std::atomic<std::uint64_t> processor;         ///< of all turns together
  std::atomic<std::uint64_t> turns;
  std::atomic<bool> isWaiting;
};
