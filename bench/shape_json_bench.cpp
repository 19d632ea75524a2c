#include <benchmark/benchmark.h>
#include <simdjson.h>

#include "editor/records/editor_document.hpp"
#include "editor/testing/mixed_shapes.hpp"

namespace {

using namespace vantorel;

constexpr int count = 100'000;

const std::vector<Shape>& shapes() {
  static const std::vector<Shape> all = [] {
    std::vector<Shape> made;
    for (int i = 0; i < count; ++i) made.push_back(mixedShape(i));
    return made;
  }();
  return all;
}

const std::string& text() {
  static const std::string json = json::toText(shapes());
  return json;
}

void report(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text().size()));
}

/// The yardstick: the library alone, walking nothing. From the same text, with memory of its own
/// each time, as every file that is read.
void bareParse(benchmark::State& state) {
  for (auto _ : state) {
    const simdjson::padded_string padded(text());
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(padded).get(root) != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
  report(state);
}
BENCHMARK(bareParse)->Unit(benchmark::kMillisecond);

void parseDocument(benchmark::State& state) {
  for (auto _ : state) {
    auto document = json::Document::parse(text());
    benchmark::DoNotOptimize(document);
  }
  report(state);
}
BENCHMARK(parseDocument)->Unit(benchmark::kMillisecond);

void decodeShapes(benchmark::State& state) {
  for (auto _ : state) {
    auto decoded = json::fromText<std::vector<Shape>>(text());
    if (!decoded || decoded->size() != count) state.SkipWithError("lost shapes");
    benchmark::DoNotOptimize(decoded);
  }
  report(state);
}
BENCHMARK(decodeShapes)->Unit(benchmark::kMillisecond);

void encodeShapes(benchmark::State& state) {
  for (auto _ : state) {
    std::string encoded = json::toText(shapes());
    benchmark::DoNotOptimize(encoded);
  }
  report(state);
}
BENCHMARK(encodeShapes)->Unit(benchmark::kMillisecond);

}  // namespace
