#include "platform/linux/program_module.hpp"

#include <gtest/gtest.h>

#include "base/log.hpp"

namespace vantorel {
namespace {

TEST(ProgramModule, OneOfAnotherBuildIsRefusedInWords) {
  const LogSink former = setLogSink([](LogLevel, std::string_view, std::string_view) {});
  const auto stale = moduleEntry(VANTOREL_STALE_MODULE, "vantorelTestEntry");
  ASSERT_FALSE(stale.has_value());
  EXPECT_EQ(stale.error().kind, FailureKind::unsupported);
  EXPECT_EQ(stale.error().reason, "is of another version; quit Vantorel and start it again");
  EXPECT_EQ(moduleEntry("/no/such/module.so", "entry").error().kind, FailureKind::notFound);
  setLogSink(former);
}

}  // namespace
}  // namespace vantorel
