#include "text/pattern_rules.hpp"

#include "text/base64_check.hpp"
#include "text/card_number_check.hpp"
#include "text/iban_check.hpp"

namespace vantorel {
namespace {

std::vector<PatternRule> makePatternRules() {
  using Kind = SensitiveMatchKind;
  std::vector<PatternRule> rules;
  rules.push_back({.kind = Kind::jwt,
                   .regex = Regex(R"((?<![A-Za-z0-9_-])eyJ[A-Za-z0-9_-]{4,}\.[A-Za-z0-9_-]{4,}\.)"
                                  R"([A-Za-z0-9_-]{4,}(?![A-Za-z0-9_-]))")});
  rules.push_back(
      {.kind = Kind::apiKey,
       .regex = Regex(R"((?<![A-Za-z0-9_-])(?:sk-[A-Za-z0-9_-]{16,}|gh[pousr]_[A-Za-z0-9]{20,})"
                      R"(|github_pat_[A-Za-z0-9_]{20,}|AKIA[0-9A-Z]{16})"
                      R"(|xox[baprs]-[A-Za-z0-9-]{10,}|AIza[0-9A-Za-z_-]{35})(?![A-Za-z0-9_-]))")});
  rules.push_back({.kind = Kind::cardNumber,
                   .regex = Regex(R"((?<![\d-])\d(?:[ -]?\d){12,18}(?![\d-]))"),
                   .validate = isCardNumber,
                   .within = cardNumberWithin,
                   .next = nextCardNumber});
  rules.push_back(
      {.kind = Kind::iban,
       .regex = Regex(R"((?<![A-Za-z0-9])[A-Z]{2}\d{2}(?: ?[A-Z0-9]){11,30}(?![A-Za-z0-9]))"),
       .validate = isIban,
       .within = ibanWithin,
       .next = nextIban});
  rules.push_back({.kind = Kind::hexSecret,
                   .regex = Regex(R"((?<![0-9A-Fa-f])[0-9A-Fa-f]{48,}(?![0-9A-Fa-f]))")});
  rules.push_back({.kind = Kind::hexSecret,
                   .regex = Regex(R"((?<![A-Za-z0-9+/=])[A-Za-z0-9+/]{40,}={0,2})"
                                  R"((?![A-Za-z0-9+/=]))"),
                   .validate = isPlausibleBase64});
  return rules;
}

}  // namespace

const std::vector<PatternRule>& patternRules() {
  static const std::vector<PatternRule> rules = makePatternRules();
  return rules;
}

std::vector<SensitiveMatch> matchesOf(const PatternRule& rule, std::string_view text) {
  std::vector<SensitiveMatch> found;
  Regex::Search search(rule.regex, text);
  std::size_t from = 0;
  while (const auto match = search.next(from)) {
    const std::string_view matched = text.substr(match->begin, match->length());
    if (rule.validate == nullptr || rule.validate(matched)) {
      found.push_back({rule.kind, *match});
      from = match->end;
      continue;
    }
    const auto part = rule.within == nullptr ? std::nullopt : rule.within(matched);
    if (part) {
      found.push_back({rule.kind, {match->begin + part->begin, match->begin + part->end}});
      from = match->begin + part->end;
    } else {
      from = match->begin + (rule.next == nullptr ? matched.size() : rule.next(matched));
    }
  }
  return found;
}

}  // namespace vantorel
