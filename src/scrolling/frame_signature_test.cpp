#include "scrolling/frame_signature.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>

#include "scrolling/background_energy.hpp"
#include "scrolling/block_profiles.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/row_correlation.hpp"
#include "scrolling/static_regions.hpp"

namespace vantorel {
namespace {

template <class Color>
Image painted(int width, int height, Color color) {
  MutableImage image({width, height}, PixelFormat::bgrx);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t pixel = color(x, y);
      for (unsigned channel = 0; channel < 3; ++channel) {
        image.row(y)[static_cast<std::size_t>(x) * 4 + channel] =
            static_cast<std::uint8_t>(pixel >> (8 * channel));
      }
    }
  }
  return std::move(image).finish();
}

/// Grey levels as a frame; `level(x, y)` of 0 to 255.
template <class Level>
FrameSignature grey(int width, int height, Level level) {
  return makeFrameSignature(
      painted(width, height,
              [&](int x, int y) { return static_cast<std::uint32_t>(level(x, y)) * 0x010101U; }),
      1);
}

TEST(FrameSignature, DigestsSayWhatRowsHold) {
  std::mt19937 random(7);
  const FrameSignature signature =
      grey(101, 3, [&](int, int y) { return y == 1 ? 90 : static_cast<int>(random() % 256); });
  ASSERT_EQ(signature.rows.size(), 3U);
  for (int y = 0; y < 3; ++y) {
    const auto row = signature.row(y);
    const double mean = std::accumulate(row.begin(), row.end(), 0.0) / 101;
    double energy = 0;
    for (const std::uint8_t level : row) energy += (level - mean) * (level - mean);
    const RowDigest& digest = signature.rows[static_cast<std::size_t>(y)];
    EXPECT_NEAR(digest.mean, mean, 1e-3);
    EXPECT_NEAR(digest.energy, energy, 1e-4 * energy + 1e-2);
    for (int block = 0; block < 8; ++block) {
      const int first = 101 * block / 8;
      const int last = 101 * (block + 1) / 8;
      const double blockMean =
          std::accumulate(row.begin() + first, row.begin() + last, 0.0) / (last - first);
      EXPECT_NEAR(digest.blocks.at(static_cast<std::size_t>(block)), blockMean, 1e-3);
    }
  }
  EXPECT_EQ(signature, signature);
}

TEST(FrameSignature, NarrowAndEmptyFramesAndColors) {
  // Of seven columns the first block has none, the others have one each.
  const FrameSignature seven = grey(7, 1, [](int x, int) { return 10 * (x + 1); });
  EXPECT_EQ(seven.rows[0].blocks, (std::array<float, 8>{0, 10, 20, 30, 40, 50, 60, 70}));
  EXPECT_TRUE(makeFrameSignature({}, 2).isEmpty());
  EXPECT_EQ(makeFrameSignature({}, 2), FrameSignature{});
  const FrameSignature colors = makeFrameSignature(
      painted(4, 1,
              [](int x, int) { return std::array{0xffffffU, 0xff0000U, 0xff00U, 0xffU}.at(x); }),
      1);
  EXPECT_EQ(colors.luma, (std::vector<std::uint8_t>{255, 76, 149, 28}));
}

TEST(ComparedColumnSpan, LeavesOutTheScrollBarAndTheMask) {
  EXPECT_EQ(comparedColumnSpan(800, {}, 1), (ColumnSpan{0, 784}));
  EXPECT_EQ(comparedColumnSpan(800, {}, 2), (ColumnSpan{0, 768}));
  EXPECT_EQ(comparedColumnSpan(800, {.leadingBlocks = 2, .trailingBlocks = 1}, 1),
            (ColumnSpan{200, 700}));
  EXPECT_EQ(
      comparedColumnSpan(800, {.leadingBlocks = 7, .leadingPixels = 30, .trailingPixels = 5}, 1.25),
      (ColumnSpan{30, 780}));
  // What would leave nothing counts for nothing but the margin.
  EXPECT_EQ(comparedColumnSpan(800, {.leadingBlocks = 4, .trailingBlocks = 4}, 1),
            (ColumnSpan{0, 784}));
  EXPECT_EQ(comparedColumnSpan(10, {}, 1), (ColumnSpan{0, 1}));
}

TEST(SegmentScore, IsTheCorrelationOfItsStretch) {
  std::mt19937 random(3);
  std::vector<std::uint8_t> a(203);
  std::vector<std::uint8_t> b(203);
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<std::uint8_t>(random() % 256);
    b[i] = static_cast<std::uint8_t>((a[i] + random() % 256) / 2);
  }
  double meanA = std::accumulate(a.begin(), a.end(), 0.0) / 203;
  double meanB = std::accumulate(b.begin(), b.end(), 0.0) / 203;
  double dot = 0;
  double energyA = 0;
  double energyB = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    dot += (a[i] - meanA) * (b[i] - meanB);
    energyA += (a[i] - meanA) * (a[i] - meanA);
    energyB += (b[i] - meanB) * (b[i] - meanB);
  }
  const SegmentScore score = scoreSegment(a, b, 4);
  EXPECT_NEAR(*score.gamma, dot / std::sqrt(energyA * energyB), 1e-5);
  EXPECT_NEAR(score.energyA, energyA, 1e-3);
  EXPECT_TRUE(score.informative);

  const std::vector<std::uint8_t> flat(203, 70);
  EXPECT_FALSE(scoreSegment(flat, flat, 4).gamma.has_value());
  EXPECT_EQ(scoreSegment(a, flat, 4).gamma, 0.0F);  // one of them has something
  EXPECT_FALSE(scoreSegment(a, flat, 4).informative);
  EXPECT_TRUE(isFlat(flat, 4));
  EXPECT_FALSE(isFlat(a, 4));
}

TEST(BlockProfiles, AreVectorsOfLengthOneOrFlat) {
  std::vector<RowDigest> rows(2);
  rows[0] = {.mean = 64, .blocks = {10, 20, 30, 40, 50, 60, 70, 80}};
  rows[1] = {.mean = 128, .blocks = {128, 129, 128, 129, 128, 129, 128, 129}};
  const BlockProfiles profiles = blockProfiles(rows, {.first = 2, .last = 6}, true);
  ASSERT_EQ(profiles.components.size(), 5U);
  float squares = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    squares += profiles.components[i][0] * profiles.components[i][0];
    EXPECT_EQ(profiles.components[i][1], 0);
  }
  EXPECT_NEAR(squares, 1, 1e-5);
  EXPECT_EQ(profiles.components[4], (std::vector<float>{1, 2}));
  EXPECT_EQ(profiles.isTextured, (std::vector<float>{1, 0}));
}

TEST(BackgroundEnergy, MeasuresWhatStaysBehindThePage) {
  // Paper with a variance of 9 that both frames have at the same place.
  const auto paper = [](int x, int y) { return 200 + ((x + y) % 2 == 0 ? 3 : -3); };
  const FrameSignature still = grey(320, 240, paper);
  EXPECT_NEAR(*backgroundEnergy(still, still, {}, 1), 72, 0.5);
  // It is never above 256, and a loud one is no paper.
  const auto louder = [](int by) {
    return grey(320, 240, [by](int x, int y) { return 128 + ((x + y) % 2 == 0 ? by : -by); });
  };
  EXPECT_EQ(backgroundEnergy(louder(7), louder(7), {}, 1), 256);
  EXPECT_EQ(backgroundEnergy(louder(9), louder(9), {}, 1), std::nullopt);

  const FrameSignature flat = grey(320, 240, [](int, int) { return 128; });
  EXPECT_EQ(backgroundEnergy(flat, flat, {}, 1), std::nullopt);
  EXPECT_EQ(backgroundEnergy(still, grey(320, 239, paper), {}, 1), std::nullopt);
  EXPECT_EQ(backgroundEnergy({}, {}, {}, 1), std::nullopt);
  // Less than a quarter of what has texture stayed where it was.
  const FrameSignature moved = grey(320, 240, [&](int x, int y) {
    return y < 40 ? paper(x, y) : 200 + ((x * 7919 + y * 104729) % 97) % 30;
  });
  const FrameSignature before = grey(320, 240, [&](int x, int y) {
    return y < 40 ? paper(x, y) : 200 + ((x * 6007 + y * 31) % 89) % 30;
  });
  EXPECT_EQ(backgroundEnergy(before, moved, {}, 1), std::nullopt);
}

TEST(OffsetSearchRange, StretchesInTheDirectionOfTheLastMove) {
  EXPECT_EQ(offsetSearchRange(0, 1000), (OffsetRange{-8, 8}));
  EXPECT_EQ(offsetSearchRange(300, 1000), (OffsetRange{-8, 600}));
  EXPECT_EQ(offsetSearchRange(500, 1000), (OffsetRange{-8, 800}));
  EXPECT_EQ(offsetSearchRange(-100, 1000), (OffsetRange{-200, 8}));
  EXPECT_EQ(minimumOverlap(1600), 200);
  EXPECT_EQ(minimumOverlap(2400), 300);
}

}  // namespace
}  // namespace vantorel
