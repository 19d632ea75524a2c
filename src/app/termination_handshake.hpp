#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/pending_archive_work.hpp"
#include "app/quit_filing_note.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/alerts.hpp"

namespace vantorel {

/// The race between pending filing and a deadline.
namespace QuitFilingDeadline {

constexpr std::chrono::seconds length{120};

enum class Outcome { landed, expired };

/// Released once, by whoever comes first; later releases do nothing.
class Latch {
 public:
  explicit Latch(std::function<void(Outcome)> waiter) : waiter_(std::move(waiter)) {}
  void release(Outcome outcome) {
    if (fired_) return;
    fired_ = true;
    std::exchange(waiter_, nullptr)(outcome);
  }
  void cancel() { fired_ = true; }

 private:
  bool fired_ = false;
  std::function<void(Outcome)> waiter_;
};

/// Calls `ended` once: when all of `work` has landed, or when the deadline, set once now, passes.
/// The answer's latch may be cancelled.
std::shared_ptr<Latch> first(PendingArchiveWork& work, TaskRunner& main,
                             std::function<void(Outcome)> ended);

}  // namespace QuitFilingDeadline

/// Lets a quit wait for what is being filed, and asks the user when that takes too long. Lives on
/// the main runner.
class TerminationHandshake {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    PendingArchiveWork* work = nullptr;
    Alerts* alerts = nullptr;

    /// Keeps the stored names of what is lost, for the next launch to tell.
    std::function<void(std::vector<std::string>)> recordUnfinished;
    std::function<void()> terminate;
  };

  explicit TerminationHandshake(Services services) : services_(std::move(services)) {}

  /// True from the first quit request until the program ends or the quit is abandoned.
  [[nodiscard]] bool isInProgress() const { return isInProgress_; }

  /// Quits when everything is filed. A second request while one is in progress does nothing.
  /// `forRelaunch` only changes the words when the quit is abandoned.
  void request(bool forRelaunch = false);

  /// The user would rather stay: something can't be saved before the end.
  void callOff();

  /// A scrolling capture could not be saved: the program stays, and says so.
  void scrollingCaptureNotSaved();

 private:
  void wait();
  void expired();
  void abandon(std::string sentence);
  void quitAnyway(const std::vector<QuitFilingNote::Item>& unfinished);

  Services services_;
  bool isInProgress_ = false;
  bool hasAsked_ = false;  // about annotations that are being saved, in this quit
  bool forRelaunch_ = false;
  std::shared_ptr<QuitFilingDeadline::Latch> latch_;
  AlertID question_ = 0;
  Lifetime lifetime_;
};

}  // namespace vantorel
