#include "platform/linux/linux_phone_number_finder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> numbersIn(std::string_view text, const std::vector<std::string>& regions) {
  LinuxPhoneNumberFinder finder;
  const auto found = finder.find(text, regions);
  if (!found) return {found.error().reason};
  std::vector<std::string> numbers;
  for (const TextRange& range : *found) {
    numbers.emplace_back(text.substr(range.begin, range.length()));
  }
  return numbers;
}

TEST(LinuxPhoneNumberFinderTest, NumbersAreReadAsTheirRegionsWriteThem) {
  EXPECT_THAT(numbersIn("ring +49 30 901820 now", {}), ElementsAre("+49 30 901820"));
  EXPECT_THAT(numbersIn("é 030 901820, or (415) 555-2671", {"DE", "US"}),
              ElementsAre("030 901820", "(415) 555-2671"));
  EXPECT_THAT(numbersIn("06 12 34 56 78", {"US", "FR"}), ElementsAre("06 12 34 56 78"));
  EXPECT_THAT(numbersIn("020 7946 0958", {"DE", "GB"}), ElementsAre("020 7946 0958"));
  EXPECT_THAT(numbersIn("2024-01-15, 192.168.100.200, 4111 1111 1111 1111", {"DE", "US", "GB"}),
              IsEmpty());
}

TEST(LinuxPhoneNumberFinderTest, WithoutItsModuleItSaysSo) {
  LinuxPhoneNumberFinder finder("/nowhere");
  const auto found = finder.find("+49 30 901820", {});
  ASSERT_FALSE(found.has_value());
  EXPECT_EQ(found.error().kind, FailureKind::unsupported);
  EXPECT_EQ(found.error().reason, "the part for telephone numbers is not installed");
}

}  // namespace
}  // namespace vantorel
