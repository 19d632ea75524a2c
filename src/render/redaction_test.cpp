#include "render/redaction.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "render/scene_canvas.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

std::string bytesOf(const Image& image) {
  std::string bytes;
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    bytes.append(row.begin(), row.end());
  }
  return bytes;
}

/// Noise outside `secret`; inside it other noise for each `variant`, transparency included.
Image noisy(PixelSize size, const std::vector<PixelRect>& secrets, unsigned variant) {
  MutableImage image(size, PixelFormat::bgraPremultiplied);
  std::mt19937 open(1);
  std::mt19937 hidden(variant);
  for (int y = 0; y < size.height; ++y) {
    auto row = image.row(y);
    for (int x = 0; x < size.width; ++x) {
      const bool isSecret = std::ranges::any_of(secrets, [&](const PixelRect& rect) {
        return !intersection(rect, {x, y, 1, 1}).isEmpty();
      });
      const auto noise = open();
      const auto value = isSecret ? static_cast<std::uint32_t>(hidden()) : std::uint32_t(noise);
      const std::uint8_t alpha = isSecret ? value >> 24U : 255;
      for (std::size_t part = 0; part < 3; ++part) {
        const auto level = static_cast<std::uint8_t>(value >> 8 * part);
        row[static_cast<std::size_t>(x) * 4 + part] = std::min(level, alpha);
      }
      row[static_cast<std::size_t>(x) * 4 + 3] = alpha;
    }
  }
  return std::move(image).finish();
}

Shape redact(RedactStyle style, Box box) {
  Shape shape =
      lineShape(ShapeType::redact, {box.x, box.y}, {box.right(), box.bottom()}, "#123456");
  shape.redactStyle = style;
  shape.opacity = 0.2;  // means nothing for a redaction
  return shape;
}

/// Every pixel that one of the boxes touches.
std::vector<PixelRect> touched(const std::vector<Box>& boxes) {
  std::vector<PixelRect> rects;
  for (const Box& box : boxes) {
    const int x = static_cast<int>(std::floor(box.x));
    const int y = static_cast<int>(std::floor(box.y));
    rects.push_back({x, y, static_cast<int>(std::ceil(box.right())) - x,
                     static_cast<int>(std::ceil(box.bottom())) - y});
  }
  return rects;
}

// The one thing that counts: pictures that differ only where a redaction lies come out the same.
TEST(RedactionTest, NothingOfTheCoveredAreaReachesTheResult) {
  const std::vector<std::vector<Box>> cases{
      {{20, 20, 60, 30}},
      {{20.4, 20.6, 60.3, 30.1}},                            // ends within pixels
      {{-50, -50, 90, 80}, {130, 90, 500, 500}},             // past the edges
      {{20, 20, 30, 30}, {50, 20, 30, 30}, {30, 45, 9, 9}},  // touching and overlapping
      {{10.5, 60.5, 0.4, 30}, {90, 60, 40, 1}},              // thinner than a pixel
      {{0, 0, 160, 120}},                                    // everything
  };
  for (const auto& [style, name] : enumNames<RedactStyle>) {
    for (const auto& boxes : cases) {
      std::vector<Shape> shapes;
      for (const Box& box : boxes) shapes.push_back(redact(style, box));
      // What is drawn above may be seen, and must not reach below.
      shapes.push_back(lineShape(ShapeType::highlighter, {}, {}));
      shapes.back().points = {{0, 30}, {150, 100}};
      shapes.push_back(lineShape(ShapeType::highlightRect, {10, 10}, {150, 90}));
      const std::string first = bytesOf(draw(shapes, noisy({160, 120}, touched(boxes), 2)));
      const std::string second = bytesOf(draw(shapes, noisy({160, 120}, touched(boxes), 3)));
      EXPECT_TRUE(first == second) << name << " " << boxes[0].x;
      EXPECT_EQ(first.size(), 160U * 120 * 4);
    }
  }
}

TEST(RedactionTest, ScalingMixesNothingOfItIntoThePixelsBeside) {
  for (const auto& [style, name] : enumNames<RedactStyle>) {
    for (const Box& frame :
         {Box{0, 0, 48, 36}, Box{3.5, 2.25, 80, 60}, Box{1, 1, 123, 92}, Box{0.5, 0, 160, 120},
          Box{0, 0, 170, 120}, Box{5, 5, 517, 388}, Box{0, 0, 16, 1200}, Box{-9, 0, 1600, 12}}) {
      const Box secret{50, 40, 47, 33};
      EditorDocument document;
      document.canvas = {600, 400, "#ffffff", {}};
      document.layers.emplace_back().id = "capture";
      document.layers[0].frame = frame;
      document.shapes = {redact(style, secret)};
      document.crop = Box{-200, -200, 600, 600};
      const auto result = [&](unsigned variant) {
        return bytesOf(
            *renderScene(document, {noisy({160, 120}, touched({secret}), variant), 2.0}));
      };
      EXPECT_TRUE(result(2) == result(3)) << name << " " << frame.w << " by " << frame.h;
    }
  }
}

TEST(RedactionTest, CoversAllOfItOpaquelyAndNothingElse) {
  const Image base = noisy({160, 120}, {}, 1);
  for (const auto& [style, name] : enumNames<RedactStyle>) {
    const Image result = draw({redact(style, {20.5, 20, 60, 30})}, base);
    for (int y = 0; y < 120; ++y) {
      const auto before = base.row(y);
      const auto after = result.row(y);
      for (int x = 0; x < 160; ++x) {
        const bool covered = x >= 20 && x < 81 && y >= 20 && y < 50;
        const auto at = static_cast<std::size_t>(x) * 4;
        const bool same =
            std::equal(before.begin() + at, before.begin() + at + 3, after.begin() + at);
        ASSERT_TRUE(covered || same) << name << " " << x << " " << y;
      }
    }
    EXPECT_EQ(result.format(), PixelFormat::bgrx);
  }
  const Image solid = draw({redact(RedactStyle::solidBox, {20, 20, 60, 30})}, base);
  EXPECT_EQ(solid.row(30)[4UZ * 40], 0x56);
  EXPECT_EQ(solid.row(30)[4 * 40 + 2], 0x12);
}

TEST(RedactionTest, BoxesBeyondAllMeasureCoverEverything) {
  const Shape shape = redact(RedactStyle::solidBox, {-1e308, -1e308, 1e308, 1e308});
  Shape whole = shape;
  whole.x2 = whole.y2 = 1e308;
  const Image result = draw({whole}, noisy({40, 30}, {}, 1));
  EXPECT_EQ(bytesOf(result), bytesOf(plainImage({40, 30}, 0xff123456)));
  EXPECT_TRUE(coveredPixels(5, 5, 5, 9, 0, {40, 30}).isEmpty());
  EXPECT_TRUE(coveredPixels(50, 5, 60, 9, 0, {40, 30}).isEmpty());
}

}  // namespace
}  // namespace vantorel
