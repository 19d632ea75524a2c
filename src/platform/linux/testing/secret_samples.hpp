#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// The same letters on every machine.
class Letters {
 public:
  int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

  const char* any(const std::vector<const char*>& words) {
    return words[static_cast<std::size_t>(below(static_cast<int>(words.size())))];
  }

  std::string of(std::string_view alphabet, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
    }
    return text;
  }

  std::string digits(int count) { return of("0123456789", count); }
  std::string hex(int count) {
    return of(below(3) == 0 ? "0123456789ABCDEF" : "0123456789abcdef", count);
  }
  std::string alnum(int count) {
    return of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", count);
  }
  std::string token(int count) {
    return of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", count);
  }

 private:
  std::mt19937 random_{20240229};
};

/// A secret of that kind, as any program might show it.
[[nodiscard]] std::string sampleSecret(SensitiveMatchKind kind, Letters& letters);

/// What is nearly of that kind, and nothing at all.
[[nodiscard]] std::string sampleNearMiss(SensitiveMatchKind kind, Letters& letters);

}  // namespace vantorel
