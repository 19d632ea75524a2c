#include "render/ink.hpp"

#include <gtest/gtest.h>

#include "editor/shape_styling.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

double contrast(const Ink& a, const Ink& b) {
  const double brighter = std::max(luminance(a), luminance(b));
  const double darker = std::min(luminance(a), luminance(b));
  return (brighter + 0.05) / (darker + 0.05);
}

Ink at(const Image& image, int x, int y) {
  const auto pixel = image.row(y).subspan(std::size_t(x) * 4, 3);
  return {pixel[2] / 255.0, pixel[1] / 255.0, pixel[0] / 255.0, 1};
}

TEST(InkTest, LettersOnColouredGroundAndBelowHighlightsAreReadable) {
  for (unsigned ground = 0; ground < 0x1000000; ground += 0x0503) {
    const Ink ink = inkOf(fmt::format("#{:06x}", ground));
    ASSERT_GE(contrast(ink, readableOn(ink)), 4.5) << std::hex << ground;
  }
  // A letter in the middle of light and of dark ground.
  const std::pair<std::uint32_t, const char*> pages[] = {{0xfff4f4f6, "#202428"},
                                                         {0xff202428, "#f4f4f6"}};
  for (const auto& [paper, letters] : pages) {
    for (const std::string_view color : inkSwatches) {
      Shape letter = lineShape(ShapeType::rect, {45, 15}, {55, 25}, letters, 1);
      letter.fill = FillStyle::solid;
      for (const ShapeType type : {ShapeType::highlightRect, ShapeType::highlighter}) {
        Shape mark = lineShape(type, {5, 5}, {95, 35}, std::string(color), 10);
        mark.points = {{5, 20}, {95, 20}};
        const Image image = draw({letter, mark}, plainImage({100, 40}, paper));
        EXPECT_GE(contrast(at(image, 50, 20), at(image, 30, 20)), 5)
            << color << " on " << std::hex << paper;
      }
    }
  }
}

}  // namespace
}  // namespace vantorel
