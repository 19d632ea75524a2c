#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "library/history_deletion.hpp"
#include "library/records/retention_agreement.hpp"
#include "library/records/retention_policy.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// The time from which an entry's age counts: its last edit or trim, or else when it was captured.
[[nodiscard]] double lastEditOf(const ScreenshotEntry& entry);

/// Starred entries, entries in a collection and Studio projects never go by age.
[[nodiscard]] bool isKeptAtAnyAge(const ScreenshotEntry& entry);

/// The ids of all entries that the policy moves to the Trash at `now` (seconds since 1970).
[[nodiscard]] std::vector<std::string> expiredEntries(const HistoryStore& store,
                                                      RetentionPolicy policy, double now);

/// What the user is asked before a policy is switched on that moves something at once.
struct RetentionConfirmation {
  std::string title;
  std::string text;
};
[[nodiscard]] RetentionConfirmation confirmRetention(std::size_t count, RetentionPolicy policy);

/// Moves entries to the Trash when they have reached the age the user chose: after loading, when
/// the choice changes, and once an hour. Lives on the main runner; keeps the answers on `work`.
///
/// No age moves anything before the user has agreed to it. What was agreed is kept with the library
/// and holds for this age and this library alone, until a longer one or none is chosen. Asked is
/// when something would go for the first time, and again when the clock has gone on by more than a
/// week since the last look: it may be wrong, and everything would go at once.
class HistoryRetention {
 public:
  struct Services {
    HistoryStore& store;
    HistoryDeletion& deletion;
    Files& files;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue that may block
  };

  static constexpr std::chrono::days longestPause{7};

  explicit HistoryRetention(Services services);

  /// Asks whether this many entries that have reached this age may go.
  std::function<void(std::size_t count, RetentionPolicy policy)> onQuestion;

  /// Sets the policy and looks at once. A question that waits is overtaken.
  void setPolicy(RetentionPolicy policy);

  /// The answer to the question about this policy; one that was overtaken counts for nothing. After
  /// a no, this policy moves nothing and asks nothing until the program starts anew.
  void answer(RetentionPolicy policy, bool isAgreed);

  /// The question was put, and neither answered nor overtaken.
  [[nodiscard]] bool isAsking() const { return isAsking_; }

  /// The age agreed to last; `off` when none was, or before that is known.
  [[nodiscard]] RetentionPolicy agreed() const {
    return agreement_ ? agreement_->policy() : RetentionPolicy::off;
  }

 private:
  void readAgreement();
  void sweep();
  void withdrawIfLonger();
  [[nodiscard]] bool mayMove() const;
  void keep(RetentionAgreement agreement, std::move_only_function<void(bool kept)> done);
  void move(std::vector<std::string> expired);

  Services services_;
  RetentionPolicy policy_ = RetentionPolicy::off;
  bool isPolicyKnown_ = false;
  std::optional<RetentionAgreement> agreement_;  // once it was read
  bool isReading_ = false;
  bool isAsking_ = false;
  bool isRefused_ = false;  // the policy, in this run
  bool isSweeping_ = false;
  Observation observation_;
  Lifetime timer_;
  Lifetime lifetime_;
};

}  // namespace vantorel
