#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "scrolling/background_energy.hpp"
#include "scrolling/frame_matcher.hpp"
#include "scrolling/frame_signature.hpp"
#include "scrolling/scrolling_canvas.hpp"
#include "scrolling/testing/generated_page.hpp"

namespace vantorel {
namespace {

/// A whole 4K display of text between a header and a footer that stick.
GeneratedPage textPage(int width) {
  return GeneratedPage({.kind = PageKind::text, .width = width, .height = 6000, .scale = 2});
}

Image frameAt(const GeneratedPage& page, int height, int position) {
  return GeneratedView{.height = height, .header = 120, .footer = 80}.frame(page, position, 1);
}

void BM_CopyOfFrame(benchmark::State& state) {
  const Image frame = frameAt(textPage(3840), 2160, 0);
  const std::size_t bytes = std::size_t{3840} * 2160 * 4;
  std::vector<std::uint8_t> copy(bytes);
  for (auto _ : state) {
    std::memcpy(copy.data(), frame.row(0).data(), bytes);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_CopyOfFrame)->Unit(benchmark::kMillisecond);

void BM_Signature(benchmark::State& state) {
  const Image frame = frameAt(textPage(3840), 2160, 0);
  for (auto _ : state) benchmark::DoNotOptimize(makeFrameSignature(frame, 2));
}
BENCHMARK(BM_Signature)->Unit(benchmark::kMillisecond);

/// A page scrolled by the argument's rows between two frames, after a move by as many.
void BM_Match(benchmark::State& state) {
  const GeneratedPage page = textPage(3840);
  const int moved = static_cast<int>(state.range(0));
  const FrameSignature previous = makeFrameSignature(frameAt(page, 2160, 1000), 2);
  const FrameSignature current = makeFrameSignature(frameAt(page, 2160, 1000 + moved), 2);
  for (auto _ : state) {
    const FrameMatch match = matchFrames(previous, current, moved, {});
    const auto* const joined = std::get_if<FrameJoin::Joined>(&match.join.value);
    if (joined == nullptr || joined->offset != moved) return state.SkipWithError("not joined");
  }
}
BENCHMARK(BM_Match)->Arg(12)->Arg(120)->Arg(700)->Unit(benchmark::kMillisecond);

void BM_BackgroundEnergy(benchmark::State& state) {
  const GeneratedPage page = textPage(3840);
  const FrameSignature previous = makeFrameSignature(frameAt(page, 2160, 1000), 2);
  const FrameSignature current = makeFrameSignature(frameAt(page, 2160, 1120), 2);
  for (auto _ : state) benchmark::DoNotOptimize(backgroundEnergy(previous, current, {}, 2));
}
BENCHMARK(BM_BackgroundEnergy)->Unit(benchmark::kMillisecond);

/// A frame of a session on a 1920x1080 area that scrolls by 20 rows a frame: at 60 frames a second
/// half a core is 8.3 ms.
void BM_SessionFrame(benchmark::State& state) {
  const GeneratedPage page = textPage(1920);
  std::vector<Image> frames;
  for (int i = 0; i < 200; ++i) frames.push_back(frameAt(page, 1080, 20 * i));
  std::size_t next = frames.size();
  ScrollingCanvas canvas;
  for (auto _ : state) {
    if (next == frames.size()) {
      state.PauseTiming();
      canvas = ScrollingCanvas();
      next = 0;
      state.ResumeTiming();
    }
    const auto step = canvas.add({.image = frames[next]}, {.display = 2});
    if (next > 0 && step.sight != ScrollingSight::joined) return state.SkipWithError("not joined");
    ++next;
  }
}
BENCHMARK(BM_SessionFrame)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantorel
