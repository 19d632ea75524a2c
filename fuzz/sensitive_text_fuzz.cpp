#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/check.hpp"
#include "base/utf8.hpp"
#include "platform/testing/fake_text_recogniser.hpp"
#include "text/secret_runs.hpp"
#include "text/sensitive_text_detector.hpp"

namespace {

using namespace vantorel;

/// Takes all digits it is shown for one number.
class DigitFinder final : public PhoneNumberFinder {
 public:
  Result<std::vector<TextRange>> find(std::string_view text,
                                      const std::vector<std::string>&) override {
    constexpr std::string_view digits = "0123456789";
    const std::size_t begin = text.find_first_of(digits);
    if (begin == text.npos) return std::vector<TextRange>();
    return std::vector<TextRange>{{begin, text.find_last_of(digits) + 1}};
  }
};

}  // namespace

// Any bytes: finds lie in the text, in order, without overlaps, between whole characters, and hold
// more than punctuation. The same text as it would be read in a picture ends as well.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  static const SensitiveTextDetector detector(std::make_shared<DigitFinder>(), {"DE", "US"});
  std::size_t end = 0;
  for (const SensitiveMatch& match : detector.matches(text)) {
    VT_CHECK(match.range.begin >= end && match.range.end > match.range.begin);
    VT_CHECK(match.range.end <= text.size());
    VT_CHECK(isUtf8(text.substr(match.range.begin, match.range.length())));
    end = match.range.end;
  }
  if (size > 4000) return 0;
  const std::vector<PlacedLetter> letters =
      placedLetters(readingOf(substitutedUtf8(text), {1000, 1000}));
  for (const LetterFind& find : misreadSecretsIn(letters)) {
    VT_CHECK(!find.letters.empty());
    VT_CHECK(static_cast<std::size_t>(find.letters.back()) < letters.size());
  }
  return 0;
}
