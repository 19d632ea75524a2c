#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "base/lifetime.hpp"
#include "capture/still_capture_filing.hpp"

namespace vantorel {

/// Files the captures that an earlier run staged but did not get to file. Lives on the main runner.
class StagedCaptureRecovery {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<StagingFolder> staging;
    StillCaptureFiling* filing = nullptr;
    const HistoryStore* store = nullptr;
    Path redactedOriginals;

    /// Stages what is to be staged first, such as sessions that were cut short. On `joining`, as
    /// it may take long.
    std::function<std::function<void()>()> stagesFirst{};
    std::shared_ptr<TaskRunner> joining{};
  };

  explicit StagedCaptureRecovery(Services services) : services_(std::move(services)) {}

  /// Files what was staged before `stagedBefore` (seconds since 1970-01-01 UTC) and nobody has
  /// claimed, oldest first. Does nothing when the library's index did not load: every capture would
  /// look unfiled then. Answers with the number filed. A sweep that is asked for while another one
  /// runs comes after it.
  void sweep(double stagedBefore, std::function<void(int filed)> done);

 private:
  struct Sweep {
    double stagedBefore = 0;
    std::function<void(int filed)> done;
  };

  void begin();
  void look();
  void next();

  Services services_;
  std::deque<Sweep> sweeps_;            // the first one runs
  std::vector<StagedCapture> waiting_;  // for the one that runs
  int filed_ = 0;                       // by it
  bool hasToldOfSkipping_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
