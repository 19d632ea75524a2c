#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "editor/shape_geometry.hpp"
#include "render/testing/golden_picture.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

constexpr PixelSize size{256, 192};
const Image paper = plainImage(size, 0xfff4f4f6);

std::vector<Pt> wave(Pt from, double width, double height) {
  std::vector<Pt> points;
  for (int i = 0; i <= 30; ++i) {
    points.push_back({from.x + width * i / 30, from.y + height * std::sin(i / 3.0)});
  }
  return points;
}

TEST(GoldenTest, StrokesAndArrows) {
  std::vector<Shape> shapes;
  const auto add = [&](Shape shape) -> Shape& { return shapes.emplace_back(std::move(shape)); };
  add(lineShape(ShapeType::pen, {}, {})).points = wave({12, 24}, 90, 10);
  Shape& dashed = add(lineShape(ShapeType::pen, {}, {}, "#007aff", 3));
  dashed.points = wave({12, 60}, 90, 8);
  dashed.lineStyle = LineStyle::dashed;
  add(lineShape(ShapeType::pen, {}, {}, "#34c759", 10)).points = {{20, 92}};
  add(lineShape(ShapeType::highlighter, {}, {}, "#ffcc00", 4)).points = {
      {36, 92}, {60, 90}, {100, 92}};
  add(lineShape(ShapeType::arrow, {130, 20}, {240, 20}));
  add(lineShape(ShapeType::arrow, {130, 60}, {240, 44}, "#007aff", 2)).headStyle =
      ArrowHeadStyle::both;
  add(lineShape(ShapeType::arrow, {130, 90}, {240, 90}, "#af52de", 6)).bow = -24;
  Shape& dot = add(lineShape(ShapeType::arrow, {20, 130}, {110, 170}, "#ff3b30", 4));
  dot.tailMarker = ArrowTailMarker::dot;
  dot.opacity = 0.5;
  Shape& ring = add(lineShape(ShapeType::arrow, {140, 120}, {236, 165}, "#34c759", 4));
  ring.tailMarker = ArrowTailMarker::ring;
  ring.tailScale = 1.5;
  ring.bow = 20;
  Shape& line = add(lineShape(ShapeType::arrow, {130, 180}, {240, 180}, "#000000", 3));
  line.headStyle = ArrowHeadStyle::headless;
  line.lineStyle = LineStyle::dashed;
  add(lineShape(ShapeType::arrow, {30, 180}, {44, 180}, "#007aff", 4));
  expectLooksLike("strokes", draw(shapes, paper));
}

TEST(GoldenTest, ClosedShapes) {
  std::vector<Shape> shapes;
  const auto add = [&](Shape shape) -> Shape& { return shapes.emplace_back(std::move(shape)); };
  add(lineShape(ShapeType::rect, {12, 12}, {76, 56}));
  Shape& round = add(lineShape(ShapeType::rect, {92, 12}, {156, 56}, "#007aff", 4));
  round.cornerRadius = 14;
  round.fill = FillStyle::tint;
  Shape& solid = add(lineShape(ShapeType::rect, {172, 12}, {242, 56}, "#34c759", 2));
  solid.fill = FillStyle::solid;
  solid.opacity = 0.6;
  add(lineShape(ShapeType::ellipse, {12, 72}, {76, 116}, "#af52de", 6));
  Shape& dashed = add(lineShape(ShapeType::ellipse, {92, 72}, {156, 116}, "#000000", 3));
  dashed.lineStyle = LineStyle::dashed;
  dashed.fill = FillStyle::tint;
  add(lineShape(ShapeType::rect, {172, 72}, {242, 116}, "#ff3b30", 3)).lineStyle =
      LineStyle::dashed;
  double x = 12;
  for (const auto& [preset, name] : enumNames<PolygonPreset>) {
    Shape& polygon = add(lineShape(ShapeType::polygon, {x, 134}, {x + 28, 178}, "#5ac8fa", 2));
    polygon.sides = polygonForm(preset).sides;
    polygon.starInset = polygonForm(preset).starInset;
    polygon.fill = FillStyle::tint;
    x += 34;
  }
  expectLooksLike("closed", draw(shapes, paper));
}

TEST(GoldenTest, Text) {
  std::vector<Shape> shapes;
  const auto add = [&](Shape shape) -> Shape& { return shapes.emplace_back(std::move(shape)); };
  add(textShape({10, 8}, "Outline", 22, TextStyle::outline));
  add(textShape({130, 8}, "Plain", 22, TextStyle::plain, "#007aff"));
  add(textShape({16, 44}, "Label", 18, TextStyle::label, "#34c759"));
  add(textShape({110, 44}, "Gelb\nzwei", 12, TextStyle::label, "#ffcc00"));
  Shape& centred = add(textShape({10, 84}, "Wrapped to a narrow box, in the middle", 12,
                                 TextStyle::plain, "#000000"));
  centred.boxWidth = 110;
  centred.textAlign = TextAlign::center;
  Shape& trailing = add(textShape({140, 84}, "and at the end of the line", 12, TextStyle::outline));
  trailing.boxWidth = 100;
  trailing.textAlign = TextAlign::trailing;
  add(textShape({10, 150}, "Fix ✅ this 🐛 ☺ 👍🏽", 18, TextStyle::plain, "#000000"));
  add(textShape({170, 120}, "مرحبا", 20, TextStyle::outline, "#af52de"));
  expectLooksLike("text", draw(shapes, paper));
}

TEST(GoldenTest, StampsAndMeasures) {
  std::vector<Shape> shapes;
  const auto add = [&](Shape shape) -> Shape& { return shapes.emplace_back(std::move(shape)); };
  double x = 26;
  for (const int number : {1, 42, 137}) {
    add(pointShape(ShapeType::counter, {x, 28}, "", number == 42 ? "#ffcc00" : "#ff3b30")).number =
        number;
    x += 48;
  }
  add(pointShape(ShapeType::counter, {160, 28}, "", "#007aff", 2)).number = 9;
  x = 26;
  for (const char* emoji : {"👍", "🎉", "🇩🇪", "👩‍💻", "❤️"}) {
    add(pointShape(ShapeType::emoji, {x, 78}, emoji, "#000000", 3));
    x += 46;
  }
  add(lineShape(ShapeType::measure, {14, 124}, {160, 124}, "#ff3b30", 2));
  add(lineShape(ShapeType::measure, {190, 110}, {190, 180}, "#007aff", 2)).measureUnit =
      MeasureUnit::pt;
  add(lineShape(ShapeType::measure, {206, 130}, {232, 142}, "#000000", 1));
  add(lineShape(ShapeType::highlightRect, {14, 146}, {150, 182}, "#ffcc00"));
  add(textShape({20, 154}, "Highlighted", 14, TextStyle::plain, "#202020"));
  expectLooksLike("stamps", draw(shapes, paper));
}

TEST(GoldenTest, Redactions) {
  const Image page = pageOf("secret words nobody may read again", size);
  std::vector<Shape> shapes;
  double y = 12;
  for (const auto& [style, name] : enumNames<RedactStyle>) {
    Shape& box =
        shapes.emplace_back(lineShape(ShapeType::redact, {20, y}, {210, y + 42}, "#000000"));
    box.redactStyle = style;
    y += 58;
  }
  shapes.push_back(lineShape(ShapeType::arrow, {240, 60}, {190, 100}));
  expectLooksLike("redactions", draw(shapes, page));
}

TEST(GoldenTest, LayersCropAndBackground) {
  EditorDocument document;
  document.canvas = {240, 180, "#dfe6f0", {}};
  LayerSpec capture;
  capture.id = "capture";
  capture.frame = {20, 20, 128, 96};  // half its size
  LayerSpec second;
  second.id = "second";
  second.path = "/second.png";
  second.pixelWidth = 64;
  second.pixelHeight = 64;
  second.frame = {110, 70, 90, 90};
  second.opacity = 0.75;
  second.border = LayerBorder{4, "#007aff", {}};
  document.layers = {capture, second};
  document.shapes = {lineShape(ShapeType::arrow, {60, 160}, {200, 40}, "#ff3b30", 8),
                     lineShape(ShapeType::redact, {10, 10}, {120, 40}, "#000000")};
  document.shapes.back().redactStyle = RedactStyle::pixelate;
  document.crop = Box{-30, -30, 420, 320};  // in pixels of the capture
  SceneSource source{pageOf("half size", size), 2.0};
  source.readLayerPicture = [](const LayerSpec&) -> Result<Image> {
    return draw({pointShape(ShapeType::emoji, {32, 32}, "🎉", "#000000", 4)},
                plainImage({64, 64}, 0xffffffff));
  };
  auto image = renderScene(document, source);
  ASSERT_TRUE(image.has_value()) << sentence(image.error());
  EXPECT_EQ(image->size(), (PixelSize{210, 160}));
  expectLooksLike("layers", *image);

  document.background.fill.value = BackgroundFill::Gradient{"dusk"};
  document.background.paddingPercent = 11;
  image = renderScene(document, source);
  ASSERT_TRUE(image.has_value());
  expectLooksLike("background", *image);
}

/// A window as it comes without a frame: round corners, a glass title bar, and nothing around it.
Image glassWindow(PixelSize pixels) {
  MutableImage image(pixels, PixelFormat::bgraPremultiplied);
  constexpr int radius = 16;
  for (int y = 0; y < pixels.height; ++y) {
    for (int x = 0; x < pixels.width; ++x) {
      const double dx = std::max({radius - 0.5 - x, x + 0.5 - (pixels.width - radius), 0.0});
      const double dy = std::max({radius - 0.5 - y, y + 0.5 - (pixels.height - radius), 0.0});
      const double inside = std::clamp(radius + 0.5 - std::hypot(dx, dy), 0.0, 1.0);
      const double alpha = inside * (y < 28 ? 0.55 : 1);
      const auto level = static_cast<std::uint8_t>(std::lround((y < 28 ? 255 : 246) * alpha));
      std::uint8_t* const pixel = image.row(y).data() + std::ptrdiff_t{4} * x;
      pixel[0] = pixel[1] = pixel[2] = level;
      pixel[3] = static_cast<std::uint8_t>(std::lround(255 * alpha));
    }
  }
  return std::move(image).finish();
}

TEST(GoldenTest, WhatIsTransparentShowsTheCanvasAndTheBackground) {
  const Image window = glassWindow({160, 110});
  EditorDocument document;
  document.background.fill.value = BackgroundFill::Gradient{"dusk"};
  document.background.paddingPercent = 20;
  document.background.shadow = true;
  document.background.shadowStrength = 0.6;
  auto image = renderScene(document, {window, {}});
  ASSERT_TRUE(image.has_value());
  expectLooksLike("glass", *image);

  // As a layer it lies on the canvas's colour, which nothing makes a hole in.
  document = {};
  document.canvas = {240, 170, "#ffcc00", {}};
  LayerSpec capture;
  capture.id = "capture";
  capture.frame = {0, 0, 200, 150};
  LayerSpec above = capture;
  above.id = "above";
  above.path = "/window.png";
  above.frame = {90, 60, 130, 95};
  above.opacity = 0.6;
  above.border = LayerBorder{10, "#007aff", {}};
  document.layers = {capture, above};
  SceneSource source{plainImage({200, 150}, 0xff404048), {}};
  source.readLayerPicture = [&](const LayerSpec&) -> Result<Image> { return window; };
  image = renderScene(document, source);
  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(image->format(), PixelFormat::bgrx);
  expectLooksLike("layer_opacity", *image);
}

TEST(GoldenTest, EdgesCornersAndHighlights) {
  const PixelSize wide{300, 220};
  MutableImage ground(wide, PixelFormat::bgrx);
  for (int y = 0; y < wide.height; ++y) {
    auto row = ground.row(y);
    std::ranges::fill(row, std::uint8_t{245});
    std::fill(row.begin() + 600, row.end(), std::uint8_t{36});
  }
  std::vector<Shape> shapes;
  const auto add = [&](Shape shape) -> Shape& { return shapes.emplace_back(std::move(shape)); };
  // Highlights keep what is written readable, on light and on dark.
  double y = 6;
  for (const char* color : {"#ffcc00", "#ff3b30", "#007aff", "#34c759"}) {
    add(textShape({10, y}, "Readable text", 14, TextStyle::plain, "#202428"));
    add(textShape({160, y}, "Readable text", 14, TextStyle::plain, "#f0f0f0"));
    add(lineShape(ShapeType::highlightRect, {6, y}, {140, y + 18}, color));
    add(lineShape(ShapeType::highlightRect, {156, y}, {292, y + 18}, color));
    y += 22;
  }
  for (const double x : {10.0, 160.0}) {
    add(lineShape(ShapeType::highlighter, {}, {}, "#ffcc00", 4)).points = {
        {x, 104}, {x + 60, 100}, {x + 120, 106}};
  }
  // Paths gain no hyphens, and a wide letter stays on its label.
  Shape& path = add(textShape({8, 122}, "/usr/share/superlongdirectoryname", 11, TextStyle::label));
  path.boxWidth = 90;
  add(textShape({118, 126}, "WW", 20, TextStyle::label, "#34c759")).boxWidth = 8;
  // Dashes fit their lines.
  Shape& star = add(lineShape(ShapeType::polygon, {160, 120}, {215, 175}, "#ffcc00", 3));
  star.sides = 5;
  star.starInset = 0.55;
  star.lineStyle = LineStyle::dashed;
  add(lineShape(ShapeType::rect, {226, 122}, {290, 172}, "#5ac8fa", 3)).lineStyle =
      LineStyle::dashed;
  Shape& arrow = add(lineShape(ShapeType::arrow, {160, 186}, {240, 186}, "#ffffff", 3));
  arrow.lineStyle = LineStyle::dashed;
  // Labels stay in the picture.
  add(lineShape(ShapeType::measure, {286, 178}, {298, 214}, "#ff3b30", 2));
  add(lineShape(ShapeType::measure, {2, 214}, {60, 214}, "#007aff", 2));
  add(pointShape(ShapeType::counter, {180, 205}, "", "#af52de", 3)).number = 1234;
  expectLooksLike("edges", draw(shapes, std::move(ground).finish()));
}

}  // namespace
}  // namespace vantorel
