// The library at 100,000 entries with some 1 kB of recognised text each, about 150 MB of index.
// Ratios are against the bare cost on the same machine in the same run.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <simdjson.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>

#include "base/log.hpp"
#include "library/history_store.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_files.hpp"
#include "platform/linux/loop_runner.hpp"
#include "platform/linux/serial_queues.hpp"

namespace vantorel {
namespace {

using Seconds = std::chrono::duration<double>;
constexpr int entryCount = 100'000;

double secondsSince(std::chrono::steady_clock::time_point start) {
  return Seconds(std::chrono::steady_clock::now() - start).count();
}

std::string words(std::mt19937& random, std::size_t size) {
  static constexpr std::array vocabulary{"invoice", "total",  "quarter",  "the",    "of",  "error",
                                         "window",  "naïve",  "2026",     "€ 12.5", "and", "null",
                                         "config",  "branch", "\"main\"", "release"};
  std::string text;
  while (text.size() < size) {
    text += vocabulary[random() % vocabulary.size()];
    text += ' ';
  }
  return text;
}

ScreenshotEntry makeEntry(std::mt19937& random, int number) {
  ScreenshotEntry entry;
  entry.id = fmt::format("{:08X}-0000-4000-8000-{:012X}", random(), number);
  entry.capturedAt = 1.7e9 + number * 60.25;
  entry.path = fmt::format("/home/user/Pictures/Vantorel/Screenshot {:06}.png", number);
  entry.ocrText.emplace();
  OCRBlock block;
  for (int i = 0; i < 4; ++i) {
    OCRLine line;
    line.text = words(random, 110);
    line.box = {0.05F, 0.1F + 0.05F * static_cast<float>(i), 0.8F, 0.04F};
    line.confidence = 0.93F;
    *entry.ocrText += line.text + "\n";
    block.lines.push_back(std::move(line));
  }
  entry.ocrBlocks = {block};
  entry.ocrVersion = 3;
  entry.pixelWidth = 2560;
  entry.pixelHeight = 1440;
  entry.captureScale = 2;
  entry.sourceApp = SourceApp{"org.gnome.Nautilus", "Files", {}};
  if (number % 10 == 0) entry.collectionIDs = {"collection"};
  return entry;
}

/// A library on a real disk, with real queues.
struct Library {
  explicit Library(Path folder)
      : store({files, clock, loop.runner(), queues.queue("vantorel.history.persist"), ::getuid()},
              LibraryPaths{std::move(folder), "/nowhere"}) {}

  void load() {
    store.load([this] { loop.quit(); });
    loop.run();
  }
  void flush() {
    store.flush([this](const Result<void>& saved) {
      if (!saved) std::abort();
      loop.quit();
    });
    loop.run();
  }

  LinuxFiles files;
  LinuxClock clock;
  LoopRunner loop;
  SerialQueues queues;
  HistoryStore store;
};

const Path& folder() {
  static const Path made = [] {
    const Path path = std::filesystem::current_path() / "history-bench";
    std::filesystem::create_directories(path);
    if (!std::filesystem::exists(path / "history.json")) {
      std::mt19937 random(1);
      Library library(path);
      library.load();
      HistoryCollection collection;
      collection.id = "collection";
      collection.name = "Collection";
      (void)library.store.addCollection(collection);
      std::vector<PlacedEntry> all;
      for (int i = 0; i < entryCount; ++i) {
        all.push_back({static_cast<std::size_t>(i),
                       std::make_shared<const ScreenshotEntry>(makeEntry(random, i))});
      }
      library.store.insertEntries(std::move(all));
      library.flush();
    }
    return path;
  }();
  return made;
}

Library& opened() {
  static Library library(folder());
  if (!library.store.isLoaded()) library.load();
  return library;
}

std::string indexText() {
  LinuxFiles files;
  return *files.read(folder() / "history.json");
}

double peakMegabytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

double residentMegabytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * 4096 / 1e6;
}

void BM_BareParse(benchmark::State& state) {
  const std::string text = indexText();
  for (auto _ : state) {
    simdjson::dom::parser parser;
    benchmark::DoNotOptimize(parser.parse(text).error());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_BareParse)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_Load(benchmark::State& state) {
  const double atRest = residentMegabytes();
  for (auto _ : state) {
    auto library = std::make_unique<Library>(folder());
    library->load();
    if (library->store.entries().size() != entryCount) state.SkipWithError("not all entries");
    state.PauseTiming();
    state.counters["rest_MB"] = residentMegabytes() - atRest;
    library.reset();
    state.ResumeTiming();
  }
  state.counters["peak_MB"] = peakMegabytes();
}
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_BareWriteAndFsync(benchmark::State& state) {
  const std::string text = indexText();
  const Path path = folder() / "bare";
  for (auto _ : state) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    for (std::string_view rest = text; !rest.empty();) {
      rest.remove_prefix(static_cast<std::size_t>(::write(file, rest.data(), rest.size())));
    }
    if (::fsync(file) != 0) state.SkipWithError("fsync");
    ::close(file);
    state.PauseTiming();
    ::unlink(path.c_str());
    state.ResumeTiming();
  }
}
BENCHMARK(BM_BareWriteAndFsync)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Iterations(5);

/// One entry changes; until it is safely on disk. `main_ms` is how long the main thread was held.
void BM_OneChangeToDisk(benchmark::State& state) {
  Library& library = opened();
  double held = 0;
  int number = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    const EntryPointer entry = library.store.entries()[50'000];
    (void)library.store.update(
        entry->id, [&](ScreenshotEntry& changed) { changed.title = std::to_string(++number); });
    bool isDone = false;
    library.store.flush([&](const Result<void>& saved) {
      isDone = saved.has_value();
      library.loop.quit();
    });
    held = std::max(held, secondsSince(start));
    library.loop.run();
    if (!isDone) state.SkipWithError("not written");
  }
  state.counters["main_ms"] = held * 1e3;
}
BENCHMARK(BM_OneChangeToDisk)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Iterations(5);

/// 1,000 changes in a burst; `writes` counts what they cost.
void BM_BurstOfChanges(benchmark::State& state) {
  Library& library = opened();
  double writes = 0;
  for (auto _ : state) {
    const auto inode = [&] { return library.files.status(folder() / "history.json")->inode; };
    std::uint64_t before = inode();
    writes = 0;
    for (int i = 0; i < 1000; ++i) {
      const EntryPointer entry = library.store.entries()[static_cast<std::size_t>(i) * 97];
      (void)library.store.update(
          entry->id, [&](ScreenshotEntry& changed) { changed.starred = !changed.starred; });
    }
    const std::uint64_t wanted = library.store.writeSequence();
    while (library.store.landedSequence() < wanted) {
      library.loop.runner()->postAfter(std::chrono::milliseconds(20), [&] { library.loop.quit(); });
      library.loop.run();
      if (inode() != before) {
        before = inode();
        ++writes;
      }
    }
  }
  state.counters["writes"] = writes;
}
BENCHMARK(BM_BurstOfChanges)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Iterations(3);

void BM_FindByID(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  const std::string id = store.entries()[77'777]->id;
  for (auto _ : state) benchmark::DoNotOptimize(store.find(id));
}
BENCHMARK(BM_FindByID);

void BM_FindByPrefix(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  const std::string prefix = store.entries()[77'777]->id.substr(0, 8);
  for (auto _ : state) benchmark::DoNotOptimize(store.resolve(prefix));
}
BENCHMARK(BM_FindByPrefix)->Unit(benchmark::kMicrosecond);

void BM_FindByPath(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  const std::string path = store.entries()[77'777]->path;
  for (auto _ : state) benchmark::DoNotOptimize(store.findByPath(path));
}
BENCHMARK(BM_FindByPath);

void BM_Collection(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  for (auto _ : state) benchmark::DoNotOptimize(store.membersOf("collection").entries.size());
}
BENCHMARK(BM_Collection);

void BM_NewestTen(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  for (auto _ : state) {
    EntryList ten(store.newestFirst().begin(), store.newestFirst().begin() + 10);
    benchmark::DoNotOptimize(ten);
  }
}
BENCHMARK(BM_NewestTen);

/// Every entry, newest first, looked at once.
void BM_List(benchmark::State& state) {
  const HistoryStore& store = opened().store;
  for (auto _ : state) {
    const EntryList& list = store.newestFirst();
    benchmark::DoNotOptimize(list.data());
    benchmark::DoNotOptimize(list.size());
  }
}
BENCHMARK(BM_List);

}  // namespace
}  // namespace vantorel
