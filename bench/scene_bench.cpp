#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <malloc.h>

#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <random>

#include "editor/canvas_input.hpp"
#include "editor/canvas_scene.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/fake_runners.hpp"
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

Result<Image> layerPicture(const LayerSpec& layer) {
  return base().cropped({200, 300, layer.pixelWidth, layer.pixelHeight});
}

/// A whole editor over the screen, without a window: what one event costs from the pointer to the
/// pixels.
class Editor {
 public:
  explicit Editor(std::vector<Shape> shapes, const BackgroundFill& fill = {},
                  Image picture = base())
      : model_(opening(std::move(shapes), fill, picture.size()), events()),
        input_(model_, CanvasServices{}),
        scene_({runners_.main(), runners_.runner("work"), &sceneDrawing(), layerPicture}, model_,
               picture) {
    isReady_ = true;
    runners_.run();
    benchmark::DoNotOptimize(scene_.picture(2).pixels);
  }

  /// Drags what is at `from` to and fro.
  void drag(benchmark::State& state, Pt from) {
    input_.handle(PointerEvent{PointerPhase::press, from});
    double to = 40;
    for (auto _ : state) {
      to = -to;
      input_.handle(PointerEvent{PointerPhase::move, {from.x + to, from.y + to / 2}});
    }
    input_.handle(PointerEvent{PointerPhase::release, from});
  }

  EditorModel& model() { return model_; }
  CanvasInput& input() { return input_; }
  CanvasScene& scene() { return scene_; }
  FakeRunners& runners() { return runners_; }

 private:
  static EditorOpening opening(std::vector<Shape> shapes, const BackgroundFill& fill,
                               PixelSize size) {
    EditorOpening opening;
    opening.capture = size;
    opening.captureScale = 2;
    opening.document.shapes = std::move(shapes);
    opening.document.background.fill = fill;
    opening.layOut = [](const Shape& text) { return sceneDrawing().layOut(text); };
    return opening;
  }
  EditorEvents events() {
    EditorEvents events;
    events.changed = [this] {
      if (isReady_) scene_.update();
    };
    return events;
  }

  bool isReady_ = false;
  FakeRunners runners_;
  EditorModel model_;
  CanvasInput input_;
  CanvasScene scene_;
};

/// So many shapes of all kinds, as large as the room each has on the screen.
std::vector<Shape> crowd(std::int64_t count) {
  std::vector<Shape> shapes;
  const int columns = static_cast<int>(std::ceil(std::sqrt(double(count) * 16 / 9)));
  const double cell = double(screen.width) / columns;
  for (int i = 0; i < count; ++i) {
    Shape shape = mixedShape(i);
    const Box frame = selectionFrame(shape, roughText);
    const double scale = 1.2 * cell / std::max({frame.w, frame.h, 1.0});
    shapes.push_back(mapped(std::move(shape), {scale, scale, cell * (i % columns) - scale * frame.x,
                                               cell * (i / columns) - scale * frame.y}));
  }
  return shapes;
}

Shape filledBox(Pt from, Pt to) {
  Shape box = lineShape(ShapeType::rect, from, to);
  box.fill = FillStyle::tint;
  return box;
}

/// A box of 5 % of the area, or a small one, among so many shapes of all kinds.
void dragAmong(benchmark::State& state) {
  std::vector<Shape> shapes = crowd(state.range(0));
  const bool isSmall = state.range(1) == 2;
  shapes.push_back(isSmall ? filledBox({1000, 700}, {1100, 780})
                           : filledBox({1000, 700}, {1000 + 859, 700 + 483}));
  BackgroundFill fill;
  if (state.range(1) == 1) fill.value = BackgroundFill::Gradient{"dusk"};
  Editor editor(std::move(shapes), fill);
  editor.drag(state, isSmall ? Pt{1050, 740} : Pt{1400, 950});
  constexpr std::array kinds{"a large one", "a large one, framed", "a small one"};
  state.SetLabel(fmt::format("{} shapes, {}", state.range(0),
                             kinds[static_cast<std::size_t>(state.range(1))]));
}
BENCHMARK(dragAmong)->ArgsProduct({{0, 200, 10'000}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

/// A redaction among sixty that lie close together, as over the lines of a form.
void dragRedactionAmong(benchmark::State& state) {
  const RedactStyle style = enumNames<RedactStyle>[static_cast<std::size_t>(state.range(0))].value;
  std::vector<Shape> shapes;
  for (int i = 0; i < 60; ++i) {
    const Pt corner{700.0 + i % 6 * 405, 300.0 + i / 6 * 125};
    Shape box = lineShape(ShapeType::redact, corner, {corner.x + 400, corner.y + 120});
    box.redactStyle = style;
    shapes.push_back(std::move(box));
  }
  for (int i = 0; i < state.range(1); ++i) {
    shapes.push_back(mapped(mixedShape(i), {4.8, 3.6, 0, 0}));
  }
  Editor editor(std::move(shapes));
  editor.model().select({editor.model().state().shapes->at(26)->id});
  editor.drag(state, {700.0 + 26 % 6 * 405 + 190, 300.0 + 26.0 / 6 * 125 - 20});
  state.SetLabel(fmt::format("{}, {} other shapes", nameOf(style), state.range(1)));
}
BENCHMARK(dragRedactionAmong)->ArgsProduct({{0, 1, 2}, {0, 200}})->Unit(benchmark::kMillisecond);

/// What lies under the pointer, asked for each of its moves.
void hover(benchmark::State& state) {
  Editor editor(crowd(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(editor.input().cursorAt(PointerEvent{PointerPhase::move, {3, 2157}}));
  }
}
BENCHMARK(hover)->Arg(200)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// From the document to the first pixels, in the background.
void openEditor(benchmark::State& state) {
  BackgroundFill fill;
  if (state.range(0) == 1) fill.value = BackgroundFill::Gradient{"dusk"};
  for (auto _ : state) Editor editor(sceneShapes(), fill);
}
BENCHMARK(openEditor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

/// A layer dragged over a quarter of the screen, with 200 shapes above it, until it is seen.
void dragLayer(benchmark::State& state) {
  Editor editor(sceneShapes());
  editor.model().addLayers({{"/layer.png", {1600, 900}}});
  editor.runners().run();
  const std::string layer = editor.model().selectedLayer()->id;
  editor.model().beginStep("Move Layer");
  double x = 300;
  for (auto _ : state) {
    x = x == 300 ? 312 : 300;
    editor.model().setLayerFrame(layer, {x, 400, 1600, 900});
    editor.runners().run();
  }
}
BENCHMARK(dragLayer)->Unit(benchmark::kMillisecond);

double residentMegabytes() {
  std::ifstream file("/proc/self/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * 4096 / 1e6;
}

/// What an editor of the screen with 200 shapes keeps after 200 steps all over it, beside the
/// capture.
void editorMemory(benchmark::State& state) {
  BackgroundFill fill;
  if (state.range(0) == 1) fill.value = BackgroundFill::Gradient{"dusk"};
  // As the program has it: large pieces go back to the system.
  ::mallopt(M_MMAP_THRESHOLD, 16 * 1024 * 1024);
  ::mallopt(M_TRIM_THRESHOLD, 4 * 1024 * 1024);
  benchmark::DoNotOptimize(base().row(0).data());
  const double before = residentMegabytes();
  for (auto _ : state) {
    Editor editor(sceneShapes(), fill);
    for (std::size_t i = 0; i < 200; ++i) {
      editor.model().select({editor.model().state().shapes->at(i)->id});
      editor.model().duplicate();
      editor.model().deleteSelection();
      editor.model().select({editor.model().state().shapes->at(i)->id});
      editor.model().nudge(5, 3);
    }
    state.counters["MB"] = residentMegabytes() - before;
  }
  state.counters["MB_after"] = residentMegabytes() - before;
}
BENCHMARK(editorMemory)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

/// The halved pictures of all of the screen, and of the part that a box of 400 by 300 touches.
void halve(benchmark::State& state) {
  const Image& picture = base();
  const std::uint8_t* const pixels = picture.row(0).data();
  for (auto _ : state) {
    if (state.range(0) == 0) {
      const HalvedPicture half(pixels, picture.stride(), picture.size());
      benchmark::DoNotOptimize(half.pixels());
      continue;
    }
    static HalvedPicture half(pixels, picture.stride(), picture.size());
    benchmark::DoNotOptimize(half.follow(pixels, picture.stride(), {1000, 700, 400, 300}));
  }
}
BENCHMARK(halve)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
