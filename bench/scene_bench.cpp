#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstring>
#include <random>

#include "editor/shape_handles.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "render/redaction.hpp"
#include "render/scene_drawing.hpp"
#include "render/testing/test_scene.hpp"

namespace {

using namespace vantorel;

constexpr PixelSize screen{3840, 2160};

const Image& base() {
  static const Image image = [] {
    MutableImage made(screen, PixelFormat::bgrx);
    for (int y = 0; y < screen.height; ++y) {
      auto row = made.row(y);
      for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = static_cast<std::uint8_t>((i / 4 * 7 + static_cast<std::size_t>(y) * 3) % 251);
      }
    }
    return std::move(made).finish();
  }();
  return image;
}

/// 200 shapes of all kinds, spread over the whole screen.
std::vector<Shape> sceneShapes() {
  std::vector<Shape> shapes;
  for (int i = 0; i < 200; ++i) shapes.push_back(mapped(mixedShape(i), {4.8, 3.6, 0, 0}));
  return shapes;
}

SceneGround ground() { return {base(), {}, 0, 2.0}; }

/// A full draw of the document, and of as many plain rectangles.
void drawAll(benchmark::State& state, const std::vector<Shape>& shapes) {
  const auto view = sceneDrawing().makeView(ground());
  const ShapeList list = shared(shapes);
  view->show(list);
  for (auto _ : state) {
    const auto fresh = sceneDrawing().makeView(ground());
    fresh->show(list);
    benchmark::DoNotOptimize(fresh->pixels());
  }
}

void drawMixedShapes(benchmark::State& state) { drawAll(state, sceneShapes()); }
BENCHMARK(drawMixedShapes)->Unit(benchmark::kMillisecond);

void drawPlainRectangles(benchmark::State& state) {
  std::vector<Shape> shapes = sceneShapes();
  for (Shape& shape : shapes) {
    const Box frame = selectionFrame(shape, roughText);
    shape.type = ShapeType::rect;
    shape.opacity.reset();
    shape.x1 = frame.x;
    shape.y1 = frame.y;
    shape.x2 = frame.right();
    shape.y2 = frame.bottom();
  }
  drawAll(state, shapes);
}
BENCHMARK(drawPlainRectangles)->Unit(benchmark::kMillisecond);

void drawNothing(benchmark::State& state) { drawAll(state, {}); }
BENCHMARK(drawNothing)->Unit(benchmark::kMillisecond);

/// One shape of 5 % of the area moves by a few pixels.
void moveOneShape(benchmark::State& state) {
  std::vector<Shape> shapes = sceneShapes();
  Shape moved = lineShape(ShapeType::rect, {1000, 700}, {1000 + 859, 700 + 483});
  moved.fill = FillStyle::tint;
  shapes.push_back(moved);
  const auto view = sceneDrawing().makeView(ground());
  view->show(shared(shapes));
  double step = 5;
  double drawn = 0;
  for (auto _ : state) {
    shapes.back() = mapped(shapes.back(), {1, 1, step, step});
    step = -step;
    for (const PixelRect& area : view->show(shared(shapes)))
      drawn += double(area.width) * area.height;
  }
  state.counters["share_drawn"] =
      drawn / double(state.iterations()) / (double(screen.width) * screen.height);
}
BENCHMARK(moveOneShape)->Unit(benchmark::kMillisecond);

/// A pen stroke of 50,000 samples: steps of some pixels, or each anywhere on the screen. Few people
/// draw such, but a file may ask for one.
void drawLongStroke(benchmark::State& state) {
  std::mt19937 random(1);
  const bool isWild = state.range(0) == 1;
  const auto within = [&](double from, double to) {
    return std::uniform_real_distribution(from, to)(random);
  };
  Shape stroke = lineShape(ShapeType::pen, {}, {});
  stroke.width = 6;
  stroke.lineStyle = state.range(1) == 1 ? LineStyle::dashed : LineStyle::solid;
  Pt at{screen.width / 2.0, screen.height / 2.0};
  for (int i = 0; i < 50'000; ++i) {
    at = isWild ? Pt{within(0, screen.width), within(0, screen.height)}
                : Pt{std::clamp(at.x + within(-15, 15), 0.0, double(screen.width)),
                     std::clamp(at.y + within(-15, 15), 0.0, double(screen.height))};
    stroke.points.push_back(at);
  }
  drawAll(state, {stroke});
  state.SetLabel(fmt::format("{}, {}", isWild ? "wild" : "walking", nameOf(*stroke.lineStyle)));
}
BENCHMARK(drawLongStroke)
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

constexpr int boxes = 50;
constexpr int boxWidth = 300;
constexpr int boxHeight = 120;

PixelRect boxAt(int i) { return {40 + i % 10 * 370, 60 + i / 10 * 400, boxWidth, boxHeight}; }

void redact(benchmark::State& state) {
  std::vector<Redaction> redactions;
  for (int i = 0; i < boxes; ++i) {
    redactions.push_back({boxAt(i),
                          enumNames<RedactStyle>[static_cast<std::size_t>(state.range(0))].value,
                          0xff000000});
  }
  const auto view = sceneDrawing().makeView(ground());
  view->show({});
  std::vector<std::uint8_t> pixels(view->pixels(), view->pixels() + view->stride() * screen.height);
  for (auto _ : state) {
    for (const Redaction& redaction : redactions) {
      cover(pixels.data(), view->stride(), screen, redaction, redactions, redaction.area);
    }
    benchmark::DoNotOptimize(pixels.data());
  }
  state.SetLabel(
      std::string(enumNames<RedactStyle>[static_cast<std::size_t>(state.range(0))].name));
}
BENCHMARK(redact)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

/// The same areas copied.
void copyBoxes(benchmark::State& state) {
  const std::size_t stride = std::size_t{4} * screen.width;
  std::vector<std::uint8_t> pixels(stride * screen.height);
  for (auto _ : state) {
    for (int i = 0; i < boxes; ++i) {
      const PixelRect box = boxAt(i);
      for (int y = box.y; y < box.bottom(); ++y) {
        std::memcpy(pixels.data() + static_cast<std::size_t>(y) * stride +
                        std::size_t{4} * static_cast<std::size_t>(box.x),
                    base().row(y).data() + std::size_t{4} * box.x, std::size_t{4} * boxWidth);
      }
    }
    benchmark::DoNotOptimize(pixels.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(copyBoxes)->Unit(benchmark::kMicrosecond);

}  // namespace
