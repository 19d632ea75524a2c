#include "capture/staged_capture_recovery.hpp"

#include <algorithm>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {

void StagedCaptureRecovery::sweep(double stagedBefore, std::function<void(int)> done) {
  if (!services_.store->indexWasReadFromDisk()) {
    if (!std::exchange(hasToldOfSkipping_, true)) {
      logWarning("Staging",
                 "staged-capture sweep skipped: the History index did not load this run, so every "
                 "capture filed from the staging folder would read as stranded");
    }
    done(0);
    return;
  }
  if (services_.staging->folder() == services_.redactedOriginals) {
    logError("Staging",
             "staged-capture sweep refused: it was pointed at Redacted Originals, whose files are "
             "never staged captures");
    done(0);
    return;
  }
  sweeps_.push_back({stagedBefore, std::move(done)});
  if (sweeps_.size() == 1) begin();
}

void StagedCaptureRecovery::begin() {
  filed_ = 0;
  if (!services_.stagesFirst) return look();
  roundTrip(*services_.joining, services_.main, services_.stagesFirst(),
            lifetime_.guard([this] { look(); }));
}

void StagedCaptureRecovery::look() {
  roundTrip(
      *services_.work, services_.main,
      [staging = services_.staging] {
        staging->removeLeftovers();
        return staging->staged();
      },
      lifetime_.guard([this](Result<std::vector<StagedCapture>> staged) {
        if (!staged) {
          logError("Staging", "the staging folder could not be read: {}", staged.error().reason);
        } else {
          waiting_ = std::move(*staged);
        }
        std::erase_if(waiting_, [&](const StagedCapture& one) {
          return mayBeOfThisRun(one.capturedAt, sweeps_.front().stagedBefore) ||
                 services_.filing->claimedPaths().contains(one.path);
        });
        for (const StagedCapture& one : waiting_) services_.filing->claim(one.path);
        next();
      }));
}

void StagedCaptureRecovery::next() {
  if (waiting_.empty()) {
    if (filed_ > 0) logInfo("Staging", "{} capture(s) of an earlier run filed", filed_);
    const auto done = std::move(sweeps_.front().done);
    sweeps_.pop_front();
    const int filed = filed_;
    if (!sweeps_.empty()) begin();
    done(filed);
    return;
  }
  StagedCapture staged = std::move(waiting_.front());
  waiting_.erase(waiting_.begin());
  services_.filing->file(
      std::move(staged), {}, lifetime_.guard([this](Result<CaptureOutcome::Saved> filed) {
        if (filed) {
          ++filed_;
        } else {
          logError("Staging", "a staged capture could not be filed: {}", filed.error().reason);
        }
        next();
      }));
}

}  // namespace vantorel
