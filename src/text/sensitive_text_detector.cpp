#include "text/sensitive_text_detector.hpp"

#include <utility>

#include "base/utf8.hpp"
#include "text/link_detector.hpp"
#include "text/match_overlaps.hpp"
#include "text/pattern_rules.hpp"
#include "text/phone_detector.hpp"
#include "text/postal_address_detector.hpp"

namespace vantorel {

SensitiveTextDetector::SensitiveTextDetector(std::shared_ptr<PhoneNumberFinder> phones,
                                             std::vector<std::string> regions)
    : phones_(std::move(phones)), regions_(std::move(regions)) {}

std::vector<SensitiveMatch> SensitiveTextDetector::matches(std::string_view text) const {
  std::string substituted;
  if (!isUtf8(text)) {
    substituted = substitutedUtf8(text);
    text = substituted;
  }
  std::vector<SensitiveMatch> found;
  const auto add = [&](const std::vector<SensitiveMatch>& more) {
    found.insert(found.end(), more.begin(), more.end());
  };
  for (const PatternRule& rule : patternRules()) add(matchesOf(rule, text));
  found = withoutInner(found);
  add(linksIn(text));
  if (phones_ != nullptr) add(phonesIn(text, *phones_, regions_));
  add(postalAddressesIn(text));
  return withoutOverlaps(found, text);
}

}  // namespace vantorel
