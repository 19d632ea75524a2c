#include "platform/linux/linux_clock.hpp"

#include <gtest/gtest.h>

#include <ctime>

namespace vantorel {
namespace {

TEST(LinuxClockTest, CountsSecondsOfTheCalendarAndNeverRunsBackwards) {
  const LinuxClock clock;
  EXPECT_NEAR(clock.now(), static_cast<double>(std::time(nullptr)), 2);
  const auto before = clock.monotonic();
  EXPECT_GE(clock.monotonic(), before);
}

}  // namespace
}  // namespace vantorel
