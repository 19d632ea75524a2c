#include "platform/linux/program_module.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

TEST(ProgramModule, OneOfAnotherBuildIsRefusedInWords) {
  const QuietLog quiet;
  const auto stale = moduleEntry(VANTOREL_STALE_MODULE, "vantorelTestEntry");
  ASSERT_FALSE(stale.has_value());
  EXPECT_EQ(stale.error().kind, FailureKind::unsupported);
  EXPECT_EQ(stale.error().reason, "is of another version; quit Vantorel and start it again");
  EXPECT_EQ(moduleEntry("/no/such/module.so", "entry").error().kind, FailureKind::notFound);
}

TEST(ProgramModule, OneThatWasCutShortIsRefusedAtAnyLengthAndEndsNothing) {
  const QuietLog quiet;
  // Each under a name of its own: one that was loaded stays mapped.
  const Path folder = Path(testing::TempDir()) / fmt::format("cut-{}", ::getpid());
  std::filesystem::create_directory(folder);
  const auto size = std::filesystem::file_size(VANTOREL_STALE_MODULE);
  for (std::uintmax_t length = 0; length < size; length += 1 + size / 40) {
    const Path cut = folder / fmt::format("{}.so", length);
    std::filesystem::copy_file(VANTOREL_STALE_MODULE, cut);
    std::filesystem::resize_file(cut, length);
    const auto refused = moduleEntry(cut, "vantorelTestEntry");
    ASSERT_FALSE(refused.has_value()) << length;
    if (length > 0 && length < size / 4) {
      EXPECT_EQ(refused.error().reason, "is damaged; install Vantorel again") << length;
    }
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vantorel
