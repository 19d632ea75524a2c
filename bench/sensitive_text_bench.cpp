// A megabyte scanned for all kinds of secrets, beside one bare pass of the first rule over the same
// text: "passes" tells how many of them a scan costs.

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

#include "platform/linux/linux_phone_number_finder.hpp"
#include "text/pattern_rules.hpp"
#include "text/phone_detector.hpp"
#include "text/sensitive_text_detector.hpp"

namespace {

using namespace vantorel;

std::string megabyteOf(const std::string& part) {
  std::string text;
  while (text.size() < 1'000'000) text += part;
  return text;
}

std::string textNamed(int which) {
  switch (which) {
    case 0:
      return megabyteOf(
          "The quick brown fox jumps over the lazy dog, and in 2024 it did so 17 times a day. "
          "Nobody knows why Main Street was closed; write to jane@example.com or see "
          "https://example.com/a. Call +49 30 901820 before 5 p.m.\n");
    case 1:
      return megabyteOf(
          "2024-01-15 12:34:56 [info] 10.0.0.1 GET /a/b.html 200 1234 \"curl/7.8\"\n");
    case 2: return megabyteOf("A");
    case 3: return megabyteOf("7");
    case 4: return megabyteOf("1-");
    case 5: return megabyteOf("1 ");
    case 6: return megabyteOf("((((");
    case 7: return megabyteOf("a@a.");
    case 8: return megabyteOf("4111 1111 1111 1112 ");
    case 9: return megabyteOf("Aa ");
    case 10: return megabyteOf("030 901820, ");
    case 11: {
      std::string text;
      for (int i = 0; text.size() < 1'000'000; ++i)
        text += "030 " + std::to_string(100000 + i) + ", ";
      return text;
    }
    case 12: return megabyteOf("GB82 ");
    case 13: return megabyteOf("http://");
    default: return megabyteOf("\xFF");
  }
}

constexpr const char* names[] = {"prose",      "log",     "A",     "7",       "1-",
                                 "1 ",         "((((",    "a@a.",  "cards",   "Aa ",
                                 "one number", "numbers", "GB82 ", "http://", "no text"};

void BM_firstRule(benchmark::State& state) {
  const std::string text = textNamed(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(matchesOf(patternRules().front(), text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.SetLabel(names[state.range(0)]);
}
BENCHMARK(BM_firstRule)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);

void BM_allKinds(benchmark::State& state) {
  const std::string text = textNamed(static_cast<int>(state.range(0)));
  const SensitiveTextDetector detector(std::make_shared<LinuxPhoneNumberFinder>(),
                                       phoneRegions("de_DE.UTF-8"));
  benchmark::DoNotOptimize(detector.matches("030 901820"));  // loads and compiles
  double seconds = 0;
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(detector.matches(text));
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }
  const auto begin = std::chrono::steady_clock::now();
  Regex::Search search(patternRules().front().regex, text.front() < 0 ? names[0] : text);
  for (std::size_t from = 0;;) {
    const auto match = search.next(from);
    if (!match) break;
    from = match->end;
  }
  const double bare =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.counters["passes"] = seconds / static_cast<double>(state.iterations()) / bare;
  state.SetLabel(names[state.range(0)]);
}
BENCHMARK(BM_allKinds)->DenseRange(0, 14)->Unit(benchmark::kMillisecond);

}  // namespace
