#include "text/regex.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdint>

#include "base/check.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

/// Steps at one place of the text, and without the compiler of machine code also the memory. The
/// rules of this program need thousands at most; what repeats a class of letters over megabytes
/// steps back through all of them once.
constexpr std::uint32_t matchLimit = 20'000'000;
constexpr std::uint32_t memoryLimitKB = 64 * 1024;

const unsigned char* bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

struct Regex::Code {
  pcre2_code* code = nullptr;
  ~Code() { pcre2_code_free(code); }
};

Regex::Regex(std::string_view pattern) : code_(std::make_unique<Code>()) {
  int error = 0;
  std::size_t at = 0;
  code_->code =
      pcre2_compile(bytes(pattern), pattern.size(), PCRE2_UTF | PCRE2_UCP, &error, &at, nullptr);
  if (code_->code == nullptr) logError("Text", "{} at {} of {}", error, at, pattern);
  VT_CHECK(code_->code != nullptr);
  // Where no machine code can be made (a hardened system), matching is slower and the same.
  (void)pcre2_jit_compile(code_->code, PCRE2_JIT_COMPLETE);
}

Regex::~Regex() = default;
Regex::Regex(Regex&&) noexcept = default;
Regex& Regex::operator=(Regex&&) noexcept = default;

struct Regex::Search::State {
  const pcre2_code* code;
  std::string_view text;
  pcre2_match_data* match;
  pcre2_match_context* context;

  ~State() {
    pcre2_match_data_free(match);
    pcre2_match_context_free(context);
  }
};

Regex::Search::Search(const Regex& regex, std::string_view text)
    : state_(new State{regex.code_->code, text,
                       pcre2_match_data_create_from_pattern(regex.code_->code, nullptr),
                       pcre2_match_context_create(nullptr)}) {
  VT_CHECK(state_->match != nullptr && state_->context != nullptr);
  (void)pcre2_set_match_limit(state_->context, matchLimit);
  (void)pcre2_set_heap_limit(state_->context, memoryLimitKB);
}

Regex::Search::~Search() = default;

std::optional<TextRange> Regex::Search::next(std::size_t from) {
  const std::string_view text = state_->text;
  while (from < text.size()) {
    // The text is known to be valid, and checking it anew for each match would cost its length.
    const int found =
        pcre2_match(state_->code, bytes(text), text.size(), from,
                    PCRE2_NO_UTF_CHECK | PCRE2_NOTEMPTY, state_->match, state_->context);
    if (found > 0) {
      const std::size_t* const ends = pcre2_get_ovector_pointer(state_->match);
      return TextRange{ends[0], ends[1]};
    }
    if (found == PCRE2_ERROR_NOMATCH) return std::nullopt;
    // Too much work: it goes on behind the line that costs so much.
    logWarning("Text", "a pattern gave up at {} with {}", from, found);
    const std::size_t lineEnd = text.find('\n', from);
    if (lineEnd == text.npos) return std::nullopt;
    from = lineEnd + 1;
  }
  return std::nullopt;
}

}  // namespace vantorel
