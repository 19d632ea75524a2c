// What the History window does with 100,000 entries, each with a kilobyte of text, at each letter
// typed. BENCH_TEXTS=0 leaves the texts out.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
      if (hasTexts) entry.ocrText = textOf(random);
      if (entry.ocrText) textBytes += entry.ocrText->size();
      if (i > 0) index += ',';
      index += json::toText(entry);
    }
    files.put("/data/history.json", index + R"(],"collections":[]})");
    store.load([] {});
    runners.run();
    if (store.entries().size() != entryCount) std::abort();
  }

  [[nodiscard]] TextIndex::Services texts() {
    return {.main = runners.main(),
            .work = runners.runner("work"),
            .textOf = [](const ScreenshotEntry& entry, std::string&) -> std::string_view {
              return entry.ocrText ? std::string_view(*entry.ocrText) : "";
            }};
  }

  /// What stands on a screen: words, the frequent ones often, of a vocabulary of 60,000, and every
  /// eighth a number, a path or a name that is hardly anywhere else.
  static std::string textOf(std::mt19937& random) {
    static const std::vector<std::string> vocabulary = [] {
      std::mt19937 letters(11);
      constexpr std::string_view consonants = "bcdfghklmnprstvw";
      constexpr std::string_view vowels = "aeiou";
      std::vector<std::string> words;
      for (int i = 0; i < 60'000; ++i) {
        std::string word;
        const std::size_t syllables = 1 + letters() % 4;
        for (std::size_t k = 0; k < syllables; ++k) {
          word += consonants[letters() % consonants.size()];
          word += vowels[letters() % vowels.size()];
          if (letters() % 3 == 0) word += consonants[letters() % consonants.size()];
        }
        words.push_back(std::move(word));
      }
      return words;
    }();
    std::uniform_real_distribution<double> share(0, 1);
    std::string text;
    int column = 0;
    while (text.size() < 1000) {
      std::string word;
      switch (random() % 24) {
        case 0: word = fmt::format("{}", random() % 1'000'000); break;
        case 1:
          word = fmt::format("/home/user/{}/{}.cpp", vocabulary[random() % vocabulary.size()],
                             vocabulary[random() % vocabulary.size()]);
          break;
        case 2: word = fmt::format("{:08x}", random()); break;
        default: {
          // Zipf's law, nearly.
          const double rank = std::pow(static_cast<double>(vocabulary.size()), share(random));
          word = vocabulary[static_cast<std::size_t>(rank) - 1];
          if (random() % 10 == 0) word.front() = static_cast<char>(word.front() - 'a' + 'A');
        }
      }
      text += word;
      text += ++column % 10 == 0 ? '\n' : ' ';
    }
    return text;
  }

  bool hasTexts = std::getenv("BENCH_TEXTS") == nullptr;
  std::size_t textBytes = 0;
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
    const HistoryListing listing(library().store, library().runners, systemDay, library().texts());
    benchmark::DoNotOptimize(listing.size());
  }
}
BENCHMARK(BM_Build)->Unit(benchmark::kMillisecond);

/// The first letter, which reads all texts.
void BM_FirstLetter(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto listing = std::make_unique<HistoryListing>(library().store, library().runners, systemDay,
                                                    library().texts());
    state.ResumeTiming();
    listing->setQuery({.text = "b"});
    benchmark::DoNotOptimize(listing->size());
    state.PauseTiming();
    listing.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_FirstLetter)->Unit(benchmark::kMillisecond);

/// A listing that has read everything.
struct ReadListing {
  ReadListing() {
    while (listing.readTexts(10'000)) {
    }
    library().runners.run();
  }
  HistoryListing listing{library().store, library().runners, systemDay, library().texts()};
};

HistoryListing& readListing() {
  static ReadListing one;
  return one.listing;
}

/// The index of the texts: all of it at once, which the window has done in the background.
void BM_ReadTexts(benchmark::State& state) {
  library();
  for (auto _ : state) {
    const ReadListing read;
    state.counters["index MB"] = static_cast<double>(read.listing.textBytes()) / 1e6;
    state.counters["text MB"] = static_cast<double>(library().textBytes) / 1e6;
  }
}
BENCHMARK(BM_ReadTexts)->Unit(benchmark::kMillisecond)->Iterations(1);

/// An answer to `text` after `before`, which shows everything when it is empty.
void answer(benchmark::State& state, const char* before, const char* text) {
  HistoryListing& listing = readListing();
  for (auto _ : state) {
    state.PauseTiming();
    listing.setQuery({.text = before});
    state.ResumeTiming();
    listing.setQuery({.text = text});
    benchmark::DoNotOptimize(listing.size());
  }
  state.counters["found"] = static_cast<double>(listing.size());
  listing.setQuery({});
}
#define ANSWER(name, before, text) \
  BENCHMARK_CAPTURE(answer, name, before, text)->Unit(benchmark::kMillisecond)
ANSWER(OneLetter, "", "b");
ANSWER(Word, "", "bridge");
ANSWER(RareWord, "", "77777");
ANSWER(ThreeWords, "", "north ba mo");
ANSWER(Path, "", "user/ba");
ANSWER(Phrase, "", "\"ba mo\"");
ANSWER(WideWordThenSecond, "a", "a e");
ANSWER(OneMoreLetter, "b", "br");
ANSWER(OneMoreLetterOfMany, "a", "ab");
ANSWER(OneMoreLetterOfSome, "ba", "bad");
ANSWER(OneMoreLetterOfFew, "brid", "bridg");
ANSWER(OneMoreLetterOfPath, "user/b", "user/ba");
ANSWER(OneMoreLetterOfPhrase, "\"ba m", "\"ba mo");
ANSWER(OneLetterLess, "bri", "br");

void BM_Star(benchmark::State& state) {
  LargeLibrary& large = library();
  HistoryListing listing(large.store, large.runners, systemDay, large.texts());
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
