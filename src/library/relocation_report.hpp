#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

enum class RelocationRefusal { indexUnreadable, journalUnreadable };

/// What a move of the library's captures to another folder came to. A capture counts as moved when
/// all its files are.
struct RelocationOutcome {
  int moved = 0;
  int failed = 0;                            ///< tried, and still where they were
  int notMoved = 0;                          ///< not tried
  std::optional<std::string> indexNotSaved;  ///< why; the move stopped there
  std::optional<RelocationRefusal> refusal;
  bool stoppedForQuit = false;
  int copiesLeft = 0;  ///< files that moved and yet could not be removed where they were
  std::string reason;  ///< why captures failed: the first one's, or one for all
  std::string reasonOfCopiesLeft{};

  bool operator==(const RelocationOutcome&) const = default;
};

/// "1 capture", "12 captures".
[[nodiscard]] std::string captureCount(std::size_t count);

/// The sentence about captures that did not move.
[[nodiscard]] std::string stillThere(int count);

/// The sentence about files that were copied and stay; empty when there are none.
[[nodiscard]] std::string copiesLeftSentence(const RelocationOutcome& outcome);

/// What the user is told of a move.
struct RelocationReport {
  static constexpr std::string_view notMovedTitle = "Captures weren't moved";

  struct Alert {
    std::string title;
    std::string text;
  };

  /// Nothing when every capture moved and nothing stayed behind.
  [[nodiscard]] static std::optional<Alert> alert(const RelocationOutcome& outcome);
};

}  // namespace vantorel
