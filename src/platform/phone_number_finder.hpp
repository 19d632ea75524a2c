#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// Finds telephone numbers in texts. Any thread; the first call loads what it needs.
class PhoneNumberFinder {
 public:
  virtual ~PhoneNumberFinder() = default;

  /// The valid numbers in `text` (UTF-8), as they are written internationally or in one of the
  /// regions ("DE", "US"), in order and without overlaps.
  [[nodiscard]] virtual Result<std::vector<TextRange>> find(
      std::string_view text, const std::vector<std::string>& regions) = 0;
};

}  // namespace vantorel
