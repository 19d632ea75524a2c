#include "base/pixel_memory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace vantorel {
namespace {

constexpr std::size_t huge = std::size_t{2} << 20U;

TEST(PixelMemoryTest, IsZeroAndWritableToItsEndAtEverySize) {
  for (const std::size_t bytes :
       {std::size_t{1}, 2 * huge - 1, 2 * huge, 2 * huge + 1, 5 * huge - 4095, 8 * huge}) {
    // Those before are written and gone, or still there: neither shows in the next.
    std::vector<std::shared_ptr<std::uint8_t>> kept;
    for (int i = 0; i < 3; ++i) {
      const auto memory = makePixelMemory(bytes);
      ASSERT_TRUE(std::all_of(memory.get(), memory.get() + bytes, [](auto b) { return b == 0; }))
          << bytes;
      std::fill_n(memory.get(), bytes, std::uint8_t{0xA5});
      if (i != 1) kept.push_back(memory);
    }
    for (const auto& memory : kept) {
      EXPECT_TRUE(
          std::all_of(memory.get(), memory.get() + bytes, [](auto b) { return b == 0xA5; }));
    }
  }
}

TEST(PixelMemoryTest, ACopyOfWhatIsLargeTakesMemoryOnlyForWhatIsWritten) {
  constexpr std::size_t bytes = 48 * huge + 5;
  auto original = makePixelMemory(bytes);
  const std::vector<std::size_t> places{0, 4096, 20 * huge, bytes - 1};
  for (const std::size_t place : places) original.get()[place] = 7;
  const auto copy = shareUntilWritten(original.get(), bytes);
  if (!copy) GTEST_SKIP() << "this build checks the bounds of all memory instead";
  EXPECT_EQ(shareUntilWritten(original.get() + 4096, huge), nullptr) << "the start alone is known";
  EXPECT_EQ(shareUntilWritten(original.get(), bytes + 1), nullptr);
  for (const std::size_t place : places) EXPECT_EQ(copy.get()[place], 7);
  copy.get()[4096] = 9;
  EXPECT_EQ(original.get()[4096], 7);
  const auto other = shareUntilWritten(original.get(), bytes);
  const std::uint8_t* const before = original.get();
  original.reset();
  EXPECT_EQ(shareUntilWritten(before, bytes), nullptr) << "what is gone is known no more";
  EXPECT_EQ(copy.get()[4096], 9);
  EXPECT_EQ(copy.get()[bytes - 1], 7);
  EXPECT_EQ(other.get()[4096], 7);
}

}  // namespace
}  // namespace vantorel
