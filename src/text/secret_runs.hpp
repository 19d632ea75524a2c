#pragma once

#include <vector>

#include "text/letter_text.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// Letters of a reading that are a secret, or read as one that was misread.
struct LetterFind {
  SensitiveMatchKind kind = SensitiveMatchKind::hexSecret;
  std::vector<int> letters;  ///< in order

  /// Not certain: to be read once more, at another size, before it counts.
  bool isDoubtful = false;
};

/// Tokens, keys, long secrets, cards and accounts in letters that may have been misread: with
/// letters that are easily taken for each other, blanks in their midst, and going on in the next
/// line. Check digits decide between what a letter may be. Hashes of commits, identifiers and
/// numbers of orders are too short, or lack the form.
[[nodiscard]] std::vector<LetterFind> misreadSecretsIn(const std::vector<PlacedLetter>& letters);

}  // namespace vantorel
