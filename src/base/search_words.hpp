#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

/// The words of a search; the case of Latin letters without accents does not matter.
class SearchWords {
 public:
  explicit SearchWords(std::string_view text);

  [[nodiscard]] bool empty() const { return words_.empty(); }

  /// Whether every word occurs in `text`.
  [[nodiscard]] bool areIn(std::string_view text) const;

 private:
  std::vector<std::string> words_;
};

}  // namespace vantorel
