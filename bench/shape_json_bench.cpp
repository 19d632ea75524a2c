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

simdjson::padded_string_view padded() {
  static const simdjson::padded_string copy(text());
  return copy;
}

/// The yardstick: the library alone, walking nothing, in memory it has used before and with no copy
/// of the text.
void bareParse(benchmark::State& state) {
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    const auto error = parser.parse(padded().data(), padded().size(), false).get(root);
    if (error != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
  report(state);
}
BENCHMARK(bareParse)->Unit(benchmark::kMillisecond);

/// The least a reader of the library's document does: looks at each value once.
double sumOf(simdjson::dom::element element) {
  double sum = 0;
  switch (element.type()) {
    case simdjson::dom::element_type::ARRAY:
      for (const auto item : simdjson::dom::array(element)) sum += sumOf(item);
      return sum;
    case simdjson::dom::element_type::OBJECT:
      for (const auto& [key, value] : simdjson::dom::object(element)) {
        sum += static_cast<double>(key.size()) + sumOf(value);
      }
      return sum;
    case simdjson::dom::element_type::STRING:
      return static_cast<double>(element.get_string_length().value_unsafe());
    default: return element.is_number() ? double(element) : 0;
  }
}

void bareParseAndWalk(benchmark::State& state) {
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    const auto error = parser.parse(padded().data(), padded().size(), false).get(root);
    if (error != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(sumOf(root));
  }
  report(state);
}
BENCHMARK(bareParseAndWalk)->Unit(benchmark::kMillisecond);

/// The same with memory of its own each time, as for a single file.
void bareParseInFreshMemory(benchmark::State& state) {
  for (auto _ : state) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    const auto error = parser.parse(padded().data(), padded().size(), false).get(root);
    if (error != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
  report(state);
}
BENCHMARK(bareParseInFreshMemory)->Unit(benchmark::kMillisecond);

void parseDocument(benchmark::State& state) {
  for (auto _ : state) {
    auto document = json::Document::parse(text());
    benchmark::DoNotOptimize(document);
  }
  report(state);
}
BENCHMARK(parseDocument)->Unit(benchmark::kMillisecond);

/// To compare with `bareParse`: in memory used before.
void decodeShapes(benchmark::State& state) {
  json::DocumentParser parser;
  std::vector<Shape> decoded;
  for (auto _ : state) {
    const auto root = parser.parse(text());
    json::Problem problem;
    if (!root || !read(*root, decoded, problem) || decoded.size() != count) {
      state.SkipWithError("lost shapes");
    }
    benchmark::DoNotOptimize(decoded);
  }
  report(state);
}
BENCHMARK(decodeShapes)->Unit(benchmark::kMillisecond);

/// To compare with `bareParseInFreshMemory`.
void decodeShapesInFreshMemory(benchmark::State& state) {
  for (auto _ : state) {
    auto decoded = json::fromText<std::vector<Shape>>(text());
    if (!decoded || decoded->size() != count) state.SkipWithError("lost shapes");
    benchmark::DoNotOptimize(decoded);
  }
  report(state);
}
BENCHMARK(decodeShapesInFreshMemory)->Unit(benchmark::kMillisecond);

void encodeShapes(benchmark::State& state) {
  for (auto _ : state) {
    std::string encoded = json::toText(shapes());
    benchmark::DoNotOptimize(encoded);
  }
  report(state);
}
BENCHMARK(encodeShapes)->Unit(benchmark::kMillisecond);

}  // namespace
