#include "platform/linux/linux_clock.hpp"

namespace vantorel {

double LinuxClock::now() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::chrono::nanoseconds LinuxClock::monotonic() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace vantorel
