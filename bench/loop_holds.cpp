// Preloaded into a program: how long each turn of its event loop holds the main thread, from one
// wait to the next, in the shared file that VT_LOOP_HOLDS names. See loop_holds.hpp.
#include "loop_holds.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

std::uint64_t nanoseconds(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
         static_cast<std::uint64_t>(time.tv_nsec);
}

LoopHolds* openHolds() {
  const char* const path = std::getenv("VT_LOOP_HOLDS");
  if (path == nullptr) return nullptr;
  const int file = ::open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) return nullptr;
  void* const memory =
      ::mmap(nullptr, sizeof(LoopHolds), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  ::close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<LoopHolds*>(memory);
}

void raise(std::atomic<std::uint64_t>& most, std::uint64_t value) {
  if (value > most) most = value;
}

/// The loop is woken through one; who waits for a reply in the middle of a turn is not.
bool isWakeUp(int file) {
  std::array<char, 32> link{};
  std::array<char, 32> target{};
  std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", file);
  return ::readlink(link.data(), target.data(), target.size() - 1) > 0 &&
         std::strstr(target.data(), "[eventfd]") != nullptr;
}

std::uint64_t startWall = 0;
std::uint64_t startProcessor = 0;

}  // namespace

extern "C" int poll(pollfd* files, nfds_t count, int timeout) {
  using Poll = int (*)(pollfd*, nfds_t, int);
  static const Poll real = reinterpret_cast<Poll>(::dlsym(RTLD_NEXT, "poll"));
  static LoopHolds* const holds = openHolds();
  static int wakeUp = -1;
  bool isLoop = false;
  if (holds != nullptr && ::syscall(SYS_gettid) == ::getpid()) {
    for (nfds_t i = 0; i < count; ++i) {
      if (wakeUp < 0 && isWakeUp(files[i].fd)) wakeUp = files[i].fd;
      isLoop |= files[i].fd == wakeUp;
    }
  }
  if (!isLoop) return real(files, count, timeout);
  if (startWall != 0) {
    const std::uint64_t processor = nanoseconds(CLOCK_THREAD_CPUTIME_ID) - startProcessor;
    raise(holds->longest, nanoseconds(CLOCK_MONOTONIC) - startWall);
    raise(holds->longestProcessor, processor);
    holds->processor += processor;
  }
  holds->isWaiting = true;
  const int ready = real(files, count, timeout);
  holds->isWaiting = false;
  ++holds->turns;
  startWall = nanoseconds(CLOCK_MONOTONIC);
  startProcessor = nanoseconds(CLOCK_THREAD_CPUTIME_ID);
  return ready;
}
