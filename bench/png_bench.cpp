#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "base/image.hpp"
#include "platform/linux/linux_image_codec.hpp"

namespace vantorel {
namespace {

constexpr PixelSize screen{3840, 2160};

std::uint32_t hash(int x, int y) {
  std::uint32_t value =
      static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
  value = (value ^ value >> 15) * 0x2C1B3C6DU;
  return value ^ value >> 13;
}

Image painted(std::uint32_t (*pixel)(int x, int y)) {
  MutableImage image(screen, PixelFormat::bgrx);
  for (int y = 0; y < screen.height; ++y) {
    const auto row = image.row(y);
    for (int x = 0; x < screen.width; ++x) {
      const std::uint32_t value = pixel(x, y);
      std::memcpy(row.data() + static_cast<std::size_t>(x) * 4, &value, sizeof value);
    }
  }
  return std::move(image).finish();
}

/// Lines of words: each of a hundred letters is drawn the same wherever it stands.
std::uint32_t text(int x, int y) {
  const int column = x / 16;
  const int line = y / 36;
  const std::uint32_t letter = hash(column, line) % 100;
  const bool space = letter > 82 || column % 120 > 40 + static_cast<int>(hash(line, 7) % 80);
  const std::uint32_t ink = hash(static_cast<int>(letter) * 16 + x % 16 / 2, y % 36 / 2) % 8;
  if (space || y % 36 > 26 || ink > 2) return 0xFAFAF8;
  return ink == 0 ? 0x202428 : ink == 1 ? 0x70747A : 0xB0B4BA;
}

/// Soft shapes with the grain of a camera.
std::uint32_t photo(int x, int y) {
  const auto grain = hash(x, y);
  const auto channel = [&](int shift, int across, int down) {
    const int wave = (x / across * 3 + y / down * 5) % 200;
    return static_cast<std::uint32_t>((wave < 100 ? wave : 200 - wave) + 60) + (grain >> shift & 3);
  };
  return channel(0, 19, 23) | channel(2, 29, 17) << 8 | channel(4, 13, 31) << 16;
}

void encode(benchmark::State& state, std::uint32_t (*pixel)(int, int), PNGEffort effort) {
  const LinuxImageCodec codec;
  const Image image = painted(pixel);
  std::size_t size = 0;
  for (auto _ : state) size = codec.encode(image, {.pngEffort = effort})->size();
  state.counters["bytes"] = static_cast<double>(size);
}

void decode(benchmark::State& state, std::uint32_t (*pixel)(int, int)) {
  const LinuxImageCodec codec;
  const std::string png = codec.encode(painted(pixel), {}).value();
  for (auto _ : state) benchmark::DoNotOptimize(codec.decode(png));
}

// Real time, because several threads work.
BENCHMARK_CAPTURE(encode, fast_text, text, PNGEffort::fast)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, fast_photo, photo, PNGEffort::fast)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, small_text, text, PNGEffort::small)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, text, text)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, photo, photo)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantorel
