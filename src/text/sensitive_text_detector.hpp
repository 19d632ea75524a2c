#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/phone_number_finder.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// Finds what should not be shared in texts: what the data detectors see (links, e-mail and postal
/// addresses, telephone numbers) and what the pattern rules match. Exact: what recognition may
/// have misread is `SmartRedact`'s to find. Any thread, several at once.
class SensitiveTextDetector {
 public:
  /// `phones` may be null: then no telephone numbers are found. `regions` are where numbers without
  /// a country's prefix may belong ("DE", "US").
  SensitiveTextDetector(std::shared_ptr<PhoneNumberFinder> phones,
                        std::vector<std::string> regions);

  /// What is sensitive in `text` (UTF-8; what is not valid is passed over), in order and without
  /// overlaps: letters that several found belong to the first of them, the pattern rules in their
  /// order, then links, telephone numbers and postal addresses; the others keep what is left of
  /// theirs. Takes under a second per megabyte, whatever it is given.
  [[nodiscard]] std::vector<SensitiveMatch> matches(std::string_view text) const;

 private:
  std::shared_ptr<PhoneNumberFinder> phones_;
  std::vector<std::string> regions_;
};

}  // namespace vantorel
