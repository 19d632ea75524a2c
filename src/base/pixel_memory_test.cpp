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

}  // namespace
}  // namespace vantorel
