#pragma once

#include <atomic>

namespace vantorel {

/// Asks a move to stop after the batch that is under way. Any thread.
struct RelocationStopFlag {
  std::atomic<bool> stopped = false;     ///< set by who asks
  std::atomic<bool> turnedAway = false;  ///< set by the mover: it left files where they are for it
};

}  // namespace vantorel
