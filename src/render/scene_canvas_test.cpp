#include "render/scene_canvas.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "editor/testing/mixed_shapes.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

/// Where a shape is cut at the edge of an area the drawing library rounds its outline a little
/// differently: some edge pixels, by a few levels. A shape missing or shifted is far more.
void expectSame(const SceneCanvas& a, const SceneCanvas& b, int round) {
  const std::size_t count = a.stride() * static_cast<std::size_t>(a.size().height);
  std::size_t different = 0;
  int worst = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int difference = std::abs(int(a.pixels()[i]) - int(b.pixels()[i]));
    different += difference > 0 ? 1 : 0;
    worst = std::max(worst, difference);
  }
  EXPECT_LE(worst, 24) << round;
  EXPECT_LT(different, 1000U) << round;
}

TEST(SceneCanvasTest, FollowingChangesGivesThePictureDrawnAtOnce) {
  const SceneGround ground{pageOf("some words", {800, 600}), {1.01, 0.99, 3, -2}, 2, 2.0};
  std::mt19937 random(7);
  const auto number = [&](int most) { return int(random() % static_cast<unsigned>(most)); };
  std::vector<Shape> shapes;
  for (int i = 0; i < 48; ++i) {
    shapes.push_back(mixedShape(i));
    if (i % 5 == 0) shapes.back().opacity = 0.5;
    if (shapes.back().type == ShapeType::redact) {
      shapes.back().redactStyle =
          enumNames<RedactStyle>[static_cast<std::size_t>(i / 12 % 3)].value;
    }
  }
  SceneCanvas followed(ground);
  followed.show(shapes);
  EXPECT_TRUE(followed.show(shapes).empty());
  double drawn = 0;
  for (int round = 0; round < 60; ++round) {
    const auto i = static_cast<std::size_t>(number(int(shapes.size())));
    switch (number(5)) {
      case 0: shapes.erase(shapes.begin() + static_cast<std::ptrdiff_t>(i)); break;
      case 1:
        shapes.insert(shapes.begin() + static_cast<std::ptrdiff_t>(i), mixedShape(100 + round));
        break;
      case 2: std::swap(shapes[i], shapes.back()); break;
      case 3: shapes[i].color = "#007aff"; break;
      default:
        shapes[i] = mapped(shapes[i], {1, 1, double(number(80) - 40), double(number(80) - 40)});
    }
    for (const PixelRect& area : followed.show(shapes)) drawn += double(area.width) * area.height;
    SceneCanvas once(ground);
    once.show(shapes);
    expectSame(followed, once, round);
  }
  EXPECT_LT(drawn / 60, 0.25 * 800 * 600) << "pixels a change";
}

TEST(SceneCanvasTest, PicturesLongerThanTheLibraryTakesHaveNoSeams) {
  const PixelSize tall{64, 40'000};
  std::vector<Shape> shapes{lineShape(ShapeType::arrow, {10, 8000}, {50, 8400}),
                            lineShape(ShapeType::arrow, {10, 39'000}, {50, 39'400})};
  const Image result = draw(shapes, plainImage(tall, 0xffffffff));
  ASSERT_EQ(result.height(), 40'000);
  const Image near =
      draw({lineShape(ShapeType::arrow, {10, 100}, {50, 500})}, plainImage({64, 600}, 0xffffffff));
  for (int y = 0; y < 600; ++y) {  // across the seam at 8192, and beyond 32,767
    ASSERT_TRUE(std::ranges::equal(result.row(7900 + y), near.row(y))) << y;
    ASSERT_TRUE(std::ranges::equal(result.row(38'900 + y), near.row(y))) << y;
  }
}

TEST(SceneRendererTest, WildNumbersDrawSomethingAndEndSoon) {
  std::vector<Shape> shapes;
  for (const double wild : {1e308, -1e308, 0.0, 1e-300, 3e9}) {
    for (const auto& [type, name] : enumNames<ShapeType>) {
      Shape shape = lineShape(type, {wild, 10}, {20, -wild}, "no colour", wild);
      shape.x = wild;
      shape.y = wild;
      shape.text = "wild";
      shape.number = 2'000'000'000;
      shape.fontSize = wild;
      shape.boxWidth = wild;
      shape.bow = wild;
      shape.tailMarker = ArrowTailMarker::dot;
      shape.tailScale = wild;
      shape.cornerRadius = std::abs(wild);
      shape.opacity = wild;
      shape.points = {{wild, 1}, {5, wild}, {1, 1}};
      if (type != ShapeType::redact) shapes.push_back(shape);
    }
  }
  EXPECT_EQ(draw(shapes, plainImage({100, 80}, 0xffffffff)).size(), (PixelSize{100, 80}));
}

TEST(SceneRendererTest, WhatCannotBeDrawnIsSaidInTheGatesWords) {
  EditorDocument document;
  const SceneSource source{plainImage({100, 80}, 0xffffffff), {}};
  const auto words = [&] {
    const auto image = renderScene(document, source);
    return image ? "drawn" : image.error().reason;
  };
  document.canvas = {9000, 9000, "#ffffff", {}};
  EXPECT_EQ(words(), "Export is blocked: the layered image couldn't be built.");
  document.canvas = {};
  document.layers.emplace_back().path = "/gone.png";
  document.layers[0].name = "Logo";
  document.layers[0].frame = {0, 0, 10, 10};
  EXPECT_EQ(words(), "Export is blocked: Logo is missing. Hide or remove it.");
  document.layers[0].visible = false;
  EXPECT_EQ(words(), "drawn");
  document.background.fill.value = BackgroundFill::Solid{"#000000"};
  document.background.paddingPercent = 1e9;
  EXPECT_NE(words(), "drawn");
}

TEST(SceneRendererTest, TransparentCapturesStayTransparentAndHiddenLayersHideTheirShapes) {
  MutableImage clear({40, 30}, PixelFormat::bgraPremultiplied);
  const Image base = std::move(clear).finish();
  const Image result = draw({lineShape(ShapeType::rect, {10, 10}, {20, 20})}, base);
  EXPECT_EQ(result.format(), PixelFormat::bgraPremultiplied);
  EXPECT_EQ(result.row(0)[3], 0);
  EXPECT_EQ(result.row(10)[4 * 15 + 3], 255);

  EditorDocument document;
  document.layers = {LayerSpec{}, LayerSpec{}};
  document.layers[0].frame = {0, 0, 40, 30};
  document.layers[1].id = "l";
  document.layers[1].path = "/l.png";
  document.layers[1].visible = false;
  document.shapes = {lineShape(ShapeType::rect, {10, 10}, {20, 20})};
  document.shapes[0].layerId = "l";
  EXPECT_TRUE(visibleShapes(document).empty());
  document.shapes[0].layerId = "unheard of";
  EXPECT_EQ(visibleShapes(document).size(), 1U);
}

}  // namespace
}  // namespace vantorel
