#pragma once

#include <string>
#include <vector>

#include "library/history_deletion.hpp"
#include "library/records/retention_policy.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// The time from which an entry's age counts: its last edit or trim, or else when it was captured.
[[nodiscard]] double lastEditOf(const ScreenshotEntry& entry);

/// The ids of all entries that the policy moves to the Trash at `now` (seconds since 1970). Never
/// starred entries, entries in a collection, or Studio projects.
[[nodiscard]] std::vector<std::string> expiredEntries(const HistoryStore& store,
                                                      RetentionPolicy policy, double now);

/// What the user is asked before a policy is switched on that moves something at once.
struct RetentionConfirmation {
  std::string title;
  std::string text;
};
[[nodiscard]] RetentionConfirmation confirmRetention(std::size_t count, RetentionPolicy policy);

/// Moves entries to the Trash when they have reached the age the user chose: after loading, when
/// the choice changes, and once an hour. Lives on the main runner.
class HistoryRetention {
 public:
  HistoryRetention(HistoryStore& store, HistoryDeletion& deletion, const Clock& clock,
                   std::shared_ptr<TaskRunner> main);

  /// Sets the policy and looks at once.
  void setPolicy(RetentionPolicy policy);

 private:
  void sweep();

  HistoryStore& store_;
  HistoryDeletion& deletion_;
  const Clock& clock_;
  std::shared_ptr<TaskRunner> main_;
  RetentionPolicy policy_ = RetentionPolicy::off;
  bool isSweeping_ = false;
  Observation observation_;
  Alive timer_;
  Alive alive_;
};

}  // namespace vantorel
