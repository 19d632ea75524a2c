#include "platform/linux/thread_priority.hpp"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/log.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {

void lowerThreadPriority() {
  constexpr int niceness = 15;
  // On Linux the priority is a thread's, for all that the call says.
  const auto thread = static_cast<id_t>(syscall(SYS_gettid));
  if (setpriority(PRIO_PROCESS, thread, niceness) != 0) {
    logWarning("TextRecognition", "the priority of a thread stays as it is: {}",
               lastSystemFailure().error().reason);
  }
}

}  // namespace vantorel
