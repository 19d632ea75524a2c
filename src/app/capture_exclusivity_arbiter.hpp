#pragma once

#include <functional>
#include <map>
#include <optional>

#include "app/records/capture_activity.hpp"

namespace vantorel {

/// Why no capture may start now.
enum class CaptureRefusedBecause { activity, modalDialog, quitting };

/// The only place that answers whether a capture may start now. Each capture path sets its own
/// activity on at the start and off at every end. Lives on the main runner.
class CaptureExclusivityArbiter {
 public:
  /// `modalSource`: is a modal dialog up; `quitSource`: is the program quitting.
  CaptureExclusivityArbiter(std::function<bool()> modalSource, std::function<bool()> quitSource)
      : modalSource_(std::move(modalSource)), quitSource_(std::move(quitSource)) {}

  /// Nothing when a capture may start.
  [[nodiscard]] std::optional<CaptureRefusedBecause> refusal() const {
    if (quitSource_()) return CaptureRefusedBecause::quitting;
    if (modalSource_()) return CaptureRefusedBecause::modalDialog;
    for (const auto& [activity, running] : sources_) {
      if (running) return CaptureRefusedBecause::activity;
    }
    return std::nullopt;
  }

  void set(CaptureActivity activity, bool running) { sources_[activity] = running; }

  [[nodiscard]] bool isRunning(CaptureActivity activity) const {
    const auto found = sources_.find(activity);
    return found != sources_.end() && found->second;
  }

 private:
  std::map<CaptureActivity, bool> sources_;
  std::function<bool()> modalSource_;
  std::function<bool()> quitSource_;
};

}  // namespace vantorel
