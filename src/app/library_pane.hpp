#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/library_move.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "library/library_repair.hpp"
#include "platform/alerts.hpp"

namespace vantorel {

/// What came of a look through the library, or of a repair, in a sentence.
[[nodiscard]] std::string sentence(const VerifyReport& report);

/// The work on the library that Settings begins and shows: moving it to another folder, its size,
/// looking through it. Outlives the windows: what a move came to that nobody sees any more is told
/// by a notification. Lives on the main runner.
class LibraryPane {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    Library& library;
    LibraryMove& move;
    LibraryRepair& repair;
    Alerts& alerts;
  };

  /// How far work has come; nothing while none runs.
  struct Progress {
    std::size_t done = 0;
    std::size_t total = 0;  ///< 0 before it is known

    /// "1,204 of 12,408"; empty before it is known.
    [[nodiscard]] std::string words() const;
  };

  explicit LibraryPane(Services services) : services_(std::move(services)) {}

  /// Moves the library to `folder`. Nothing happens while a move that was begun here runs.
  void moveTo(const Path& folder);
  void stopMove();
  [[nodiscard]] const std::optional<Progress>& moving() const { return moving_; }

  /// What the last move came to, in sentences; empty before one and while one runs.
  [[nodiscard]] const std::string& moveReport() const { return moveReport_; }

  /// Looks through the library, and repairs what that finds if it `repairs`. Nothing happens while
  /// that goes on.
  void verify(bool repairs);
  void stopVerify();
  [[nodiscard]] const std::optional<Progress>& verifying() const { return verifying_; }
  [[nodiscard]] const std::string& verifyReport() const { return verifyReport_; }

  /// Whether a look has found what a repair has not been tried on.
  [[nodiscard]] bool canRepair() const { return canRepair_; }

  /// Measures the library, and keeps `size` current from then on.
  void measure();

  /// "12,408 captures, 8.2 GB"; without the bytes before they are measured, and empty before the
  /// library is read.
  [[nodiscard]] std::string size() const;

  /// Called after each change of what is told here.
  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

  /// To be held by a window that shows what is told here: as long, no notification says it too.
  [[nodiscard]] Observation shown();

 private:
  void moved(const Result<RelocationOutcome, FolderRefusal>& outcome, bool isCalledOff);
  void verified(const VerifyReport& report, bool repairs);

  Services services_;
  std::optional<Progress> moving_;
  std::shared_ptr<RelocationStopFlag> moveFlag_;
  std::string moveReport_;
  std::optional<Progress> verifying_;
  std::shared_ptr<RelocationStopFlag> verifyFlag_;
  std::string verifyReport_;
  bool canRepair_ = false;
  bool isMeasured_ = false;
  std::shared_ptr<int> windows_ = std::make_shared<int>(0);  // that show this
  Observers<> observers_;
  Observation libraryObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
