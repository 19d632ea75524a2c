// What the History window does with 100,000 entries at each letter typed.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <random>

#include "base/json_record.hpp"
#include "library/history_listing.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

constexpr int entryCount = 100'000;

/// A library in memory, of three years.
struct LargeLibrary {
  LargeLibrary() {
    std::mt19937 random(7);
    constexpr std::array applications{"Terminal", "Web Browser", "Code Editor", "Mail", "Maps"};
    constexpr std::array titles{"North bridge log", "Überblick", "Payment form", "Way to the weir"};
    std::string index = R"({"version":4,"entries":[)";
    for (int i = 0; i < entryCount; ++i) {
      ScreenshotEntry entry;
      entry.id = fmt::format("{:08X}-0000-4000-8000-{:012X}", random(), i);
      entry.capturedAt = runners.now() - (entryCount - i) * 946.0;
      entry.path = fmt::format("/home/user/Pictures/Vantorel/Screenshot {} at {:06}.png", i / 7, i);
      entry.sourceApp = SourceApp{.bundleID = {}, .name = applications[random() % 5]};
      entry.starred = i % 50 == 0;
      if (i % 3 == 0) entry.title = fmt::format("{} {}", titles[random() % 4], i);
      if (i > 0) index += ',';
      index += json::toText(entry);
    }
    files.put("/data/history.json", index + R"(],"collections":[]})");
    store.load([] {});
    runners.run();
    if (store.entries().size() != entryCount) std::abort();
  }
  FakeFiles files;
  FakeRunners runners;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist")},
                     LibraryPaths{"/data", "/caches"}};
};

LargeLibrary& library() {
  static LargeLibrary one;
  return one;
}

void BM_Build(benchmark::State& state) {
  library();
  for (auto _ : state) {
    const HistoryListing listing(library().store, library().runners, systemDay);
    benchmark::DoNotOptimize(listing.size());
  }
}
BENCHMARK(BM_Build)->Unit(benchmark::kMillisecond);

/// The first letter, which reads all texts.
void BM_FirstLetter(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto listing = std::make_unique<HistoryListing>(library().store, library().runners, systemDay);
    state.ResumeTiming();
    listing->setQuery({.text = "b"});
    benchmark::DoNotOptimize(listing->size());
    state.PauseTiming();
    listing.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_FirstLetter)->Unit(benchmark::kMillisecond);

void BM_OneMoreLetter(benchmark::State& state) {
  HistoryListing listing(library().store, library().runners, systemDay);
  for (auto _ : state) {
    state.PauseTiming();
    listing.setQuery({.text = "b"});
    state.ResumeTiming();
    listing.setQuery({.text = "br"});
    benchmark::DoNotOptimize(listing.size());
  }
  state.counters["found"] = static_cast<double>(listing.size());
}
BENCHMARK(BM_OneMoreLetter)->Unit(benchmark::kMillisecond);

void BM_OneLetterLess(benchmark::State& state) {
  HistoryListing listing(library().store, library().runners, systemDay);
  for (auto _ : state) {
    state.PauseTiming();
    listing.setQuery({.text = "bri"});
    state.ResumeTiming();
    listing.setQuery({.text = "br"});
    benchmark::DoNotOptimize(listing.size());
  }
}
BENCHMARK(BM_OneLetterLess)->Unit(benchmark::kMillisecond);

void BM_Star(benchmark::State& state) {
  LargeLibrary& large = library();
  HistoryListing listing(large.store, large.runners, systemDay);
  const auto observation = large.store.observe([&](const HistoryChange& change) {
    listing.follow(change);
    listing.refresh();
  });
  const std::string id = large.store.newestFirst()[500]->id;
  for (auto _ : state) {
    const auto outcome =
        large.store.update(id, [](ScreenshotEntry& entry) { entry.starred = !entry.starred; });
    benchmark::DoNotOptimize(outcome.has_value());
  }
}
BENCHMARK(BM_Star)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantorel
