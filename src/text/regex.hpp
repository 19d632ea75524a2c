#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// A compiled regular expression in Perl's syntax, over UTF-8: `\d`, `\w` and `\p{L}` know all of
/// Unicode. The work at one place of a text is bounded; where it is exceeded nothing matches. Any
/// thread, several at once.
class Regex {
 public:
  /// A pattern that does not compile is a mistake of this program.
  explicit Regex(std::string_view pattern);
  ~Regex();
  Regex(Regex&&) noexcept;
  Regex& operator=(Regex&&) noexcept;

  /// Walks through one text. One thread.
  class Search {
   public:
    /// `text` is valid UTF-8 and outlives the search, as the expression does.
    Search(const Regex& regex, std::string_view text);
    ~Search();
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    /// The first match that begins at `from` or later, a place between two characters. What lies
    /// before it counts for look-behind. Matches are never empty.
    [[nodiscard]] std::optional<TextRange> next(std::size_t from);

   private:
    struct State;
    std::unique_ptr<State> state_;
  };

 private:
  struct Code;
  std::unique_ptr<Code> code_;
};

}  // namespace vantorel
