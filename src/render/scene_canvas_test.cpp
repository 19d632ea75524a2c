#include "render/scene_canvas.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "editor/shape_layers.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

/// The first pixel that differs, or nothing.
std::string difference(const SceneCanvas& a, const SceneCanvas& b) {
  const std::size_t count = a.stride() * static_cast<std::size_t>(a.size().height);
  const auto [at, other] = std::mismatch(a.pixels(), a.pixels() + count, b.pixels());
  if (at == a.pixels() + count) return {};
  const auto place = static_cast<std::size_t>(at - a.pixels());
  return std::to_string(place % a.stride() / 4) + "," + std::to_string(place / a.stride()) + ": " +
         std::to_string(*at) + " for " + std::to_string(*other);
}

/// Any shape in any style, at places and of sizes between the pixels.
class RandomShapes {
 public:
  explicit RandomShapes(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t count) { return random_() % count; }
  double between(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(random_);
  }

  Shape next() {
    Shape shape = mixedShape(static_cast<int>(below(5000)));
    maybe(shape.opacity, [&] { return between(0, 1); });
    maybe(shape.fill, [&] { return anyOf<FillStyle>(); });
    maybe(shape.lineStyle, [&] { return anyOf<LineStyle>(); });
    maybe(shape.headStyle, [&] { return anyOf<ArrowHeadStyle>(); });
    maybe(shape.tailMarker, [&] { return anyOf<ArrowTailMarker>(); });
    maybe(shape.textStyle, [&] { return anyOf<TextStyle>(); });
    maybe(shape.redactStyle, [&] { return anyOf<RedactStyle>(); });
    maybe(shape.textAlign, [&] { return anyOf<TextAlign>(); });
    maybe(shape.boxWidth, [&] { return between(10, 90); });
    maybe(shape.cornerRadius, [&] { return between(0, 20); });
    maybe(shape.bow, [&] { return between(-60, 60); });
    maybe(shape.sides, [&] { return static_cast<int>(3 + below(10)); });
    maybe(shape.starInset, [&] { return between(0, 0.7); });
    shape.width = between(0.3, 14);
    return moved(shape);
  }

  Shape nudged(const Shape& shape) {
    return mapped(shape, {1, 1, between(-20, 20), between(-20, 20)});
  }
  Shape moved(const Shape& shape) {
    return mapped(shape,
                  {between(0.4, 1.4), between(0.4, 1.4), between(-60, 60), between(-60, 60)});
  }

 private:
  template <class Member, class Make>
  void maybe(Member& member, Make make) {
    if (below(2) == 0) member = make();
  }
  template <class Enum>
  Enum anyOf() {
    return enumNames<Enum>[below(enumNames<Enum>.size())].value;
  }

  std::mt19937 random_;
};

TEST(SceneCanvasTest, FollowingChangesGivesThePictureDrawnAtOnceToTheLastBit) {
  const PixelSize size{640, 480};
  const SceneGround ground{pageOf("some words", size), {1.01, 0.99, 3.3, -2.7}, 2, 2.0};
  double drawn = 0;
  int changes = 0;
  for (unsigned seed = 1; seed <= 8; ++seed) {
    RandomShapes random(seed);
    std::vector<Shape> shapes;
    for (int i = 0; i < 24; ++i) shapes.push_back(random.next());
    SceneCanvas followed(ground);
    followed.show(shared(shapes));
    EXPECT_TRUE(followed.show(shared(shapes)).empty());
    for (int round = 0; round < 24; ++round, ++changes) {
      const std::size_t i = random.below(shapes.size());
      const auto place = shapes.begin() + static_cast<std::ptrdiff_t>(i);
      // Often the same one again, as somebody does who drags it.
      if (random.below(3) == 0) {
        for (int step = 0; step < 4; ++step) {
          shapes[i] = random.nudged(shapes[i]);
          followed.show(shared(shapes));
        }
      }
      switch (random.below(6)) {
        case 0: shapes.erase(place); break;
        case 1: shapes.insert(place, random.next()); break;
        case 2: std::swap(shapes[i], shapes.back()); break;
        case 3: shapes[i].color = "#007aff"; break;
        case 4: shapes[i] = random.nudged(shapes[i]); break;
        default: shapes[i] = random.moved(shapes[i]);
      }
      for (const PixelRect& area : followed.show(shared(shapes)))
        drawn += double(area.width) * area.height;
      SceneCanvas once(ground);
      once.show(shared(shapes));
      ASSERT_EQ(difference(followed, once), "") << "seed " << seed << ", round " << round;
    }
  }
  EXPECT_LT(drawn / changes, 0.3 * size.width * size.height) << "pixels a change";
}

/// A wave of so many samples across the picture and back.
Shape sampledWave(ShapeType type, std::size_t samples) {
  Shape wave = lineShape(type, {}, {}, "#007aff", 5);
  for (std::size_t i = 0; i < samples; ++i) {
    const double along = 2 * M_PI * double(i) / double(samples - 1);
    wave.points.push_back({320 - 290 * std::cos(along), 240 + 200 * std::sin(9 * along)});
  }
  return wave;
}

TEST(SceneCanvasTest, StrokesOfManySamplesLookLikeThoseOfFewAndAreFollowedToTheLastBit) {
  const PixelSize size{640, 480};
  const SceneGround ground{pageOf("some words", size), {1.01, 0.99, 3.3, -2.7}, 1, 1.0};
  for (const ShapeType type : {ShapeType::pen, ShapeType::highlighter}) {
    for (const LineStyle style : {LineStyle::solid, LineStyle::dashed}) {
      Shape few = sampledWave(type, 3990);
      Shape many = sampledWave(type, 4010);
      few.lineStyle = many.lineStyle = style;
      const Image a = draw({few}, plainImage(size, 0xffffffff));
      const Image b = draw({many}, plainImage(size, 0xffffffff));
      int greatest = 0;
      double sum = 0;
      double inked = 0;
      for (int y = 0; y < size.height; ++y) {
        for (std::size_t i = 0; i < a.row(y).size(); ++i) {
          const int apart = std::abs(int(a.row(y)[i]) - int(b.row(y)[i]));
          greatest = std::max(greatest, apart);
          sum += apart;
          inked += a.row(y)[i] != 255 || b.row(y)[i] != 255 ? 1 : 0;
        }
      }
      // Both estimate which share of a pixel is inked. Where an end meets a side each is off by up
      // to a quarter; a line or a dash that is missing or elsewhere makes it the whole.
      EXPECT_LE(greatest, 128) << int(type) << int(style);
      EXPECT_LT(sum / inked, 0.01 * 255) << int(type) << int(style);

      std::vector<Shape> shapes{many, lineShape(ShapeType::arrow, {300, 100}, {360, 160})};
      SceneCanvas followed(ground);
      followed.show(shared(shapes));
      shapes.back() = lineShape(ShapeType::arrow, {310, 230}, {390, 290});
      followed.show(shared(shapes));
      SceneCanvas once(ground);
      once.show(shared(shapes));
      EXPECT_EQ(difference(followed, once), "") << int(type) << int(style);
    }
  }
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
    return image ? "drawn" : sentence(image.error());
  };
  document.canvas = {12000, 12000, "#ffffff", {}};
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
  const auto shown = [&] {
    return shownShapes(shared(document.shapes), document.layers, {40, 30}).size();
  };
  document.shapes[0].layerId = "l";
  EXPECT_EQ(shown(), 0U);
  document.shapes[0].layerId = "unheard of";
  EXPECT_EQ(shown(), 1U);
  document.layers[0].visible = false;
  EXPECT_EQ(shown(), 0U) << "it lies on the capture";
}

}  // namespace
}  // namespace vantorel
