#pragma once

#include "platform/linux/serial_queues.hpp"

namespace vantorel {

/// Where the work runs that is not the main runner's, so that what may hang or take long holds up
/// nothing else.
struct Lanes {
  SerialQueues prompt{2};  ///< captures, index and settings, and nothing slow
  SerialQueues disks{6};   ///< where a disk or a service may hang; about a thread a queue
  SerialQueues pool{3};    ///< for work of the processor
  SerialQueues quiet{1};   ///< for what nobody waits for

  /// Waits for the tasks under way and runs no more. Before what they use goes.
  void stop() {
    for (SerialQueues* const queues : {&quiet, &pool, &disks, &prompt}) queues->stop();
  }
};

}  // namespace vantorel
