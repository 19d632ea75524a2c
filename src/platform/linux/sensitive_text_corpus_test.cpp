#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "platform/linux/linux_phone_number_finder.hpp"
#include "platform/linux/testing/secret_samples.hpp"
#include "text/phone_detector.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {
namespace {

using Kind = SensitiveMatchKind;

struct Score {
  int planted = 0, found = 0, wrong = 0;
};

TEST(SensitiveTextCorpusTest, SecretsAreFoundAndWhatResemblesThemIsNot) {
  constexpr int each = 45;
  const std::vector<Kind> kinds{Kind::email,   Kind::phone,      Kind::url,
                                Kind::address, Kind::cardNumber, Kind::iban,
                                Kind::jwt,     Kind::apiKey,     Kind::hexSecret};
  const SensitiveTextDetector detector(std::make_shared<LinuxPhoneNumberFinder>(),
                                       phoneRegions("de_DE.UTF-8"));
  Letters letters;
  std::map<Kind, Score> scores;
  const std::vector<std::pair<const char*, const char*>> frames{{"", ""},
                                                                {"Please use ", " for this."},
                                                                {"(", ")"},
                                                                {"value: ", "\nnext line"},
                                                                {"\"", "\","}};
  for (const Kind kind : kinds) {
    for (int i = 0; i < each; ++i) {
      const auto& [before, after] = frames[static_cast<std::size_t>(i) % frames.size()];
      const std::string plant = sampleSecret(kind, letters);
      const std::string text = before + plant + after;
      const TextRange place{std::string_view(before).size(),
                            std::string_view(before).size() + plant.size()};
      bool isFound = false;
      for (const SensitiveMatch& match : detector.matches(text)) {
        const bool isThere = match.range.begin < place.end && place.begin < match.range.end;
        if (match.kind == kind && match.range == place) isFound = true;
        if (!isThere || match.kind != kind) ++scores[match.kind].wrong;
      }
      ++scores[kind].planted;
      scores[kind].found += isFound ? 1 : 0;
      if (!isFound) fmt::print("missed {}: {}\n", nameOf(kind), text);
      const std::string miss = sampleNearMiss(kind, letters);
      for (const SensitiveMatch& match : detector.matches(before + miss + after)) {
        ++scores[match.kind].wrong;
        fmt::print("wrong {}: {}{}{}\n", nameOf(match.kind), before, miss, after);
      }
    }
  }
  fmt::print("{:<11}{:>8}{:>8}{:>11}\n", "kind", "planted", "recall", "precision");
  for (const Kind kind : kinds) {
    const Score& score = scores[kind];
    const double recall = static_cast<double>(score.found) / score.planted;
    const double precision =
        static_cast<double>(score.found) / std::max(1, score.found + score.wrong);
    fmt::print("{:<11}{:>8}{:>8.3f}{:>11.3f}\n", nameOf(kind), score.planted, recall, precision);
    const bool isRule = kind >= Kind::cardNumber;
    EXPECT_GE(recall, isRule ? 1.0 : 0.95) << nameOf(kind);
    EXPECT_GE(precision, 0.9) << nameOf(kind);
  }
}

}  // namespace
}  // namespace vantorel
