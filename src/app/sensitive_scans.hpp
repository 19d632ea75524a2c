#pragma once

#include <functional>
#include <memory>
#include <set>
#include <stop_token>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "settings/settings_values.hpp"
#include "text/smart_redact.hpp"

namespace vantorel {

/// The detectors of pictures that the settings ask for.
[[nodiscard]] VisualDetectors enabledDetectors(const SettingsValues& settings);

/// Runs Smart Redact off the main thread, one picture after the other. Lives on the main runner.
class SensitiveScans {
 public:
  using Answer = Result<SmartRedact::Outcome, RecognitionFailure>;

  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue; a scan takes seconds of it
    std::shared_ptr<const SmartRedact> smartRedact;
  };

  explicit SensitiveScans(Services services) : services_(std::move(services)) {}

  /// Asked at each scan for what holds up other use of the recogniser while it lives; may be empty.
  std::function<std::shared_ptr<void>()> onBusy;

  /// Gives up all scans, those that are asked for from now on, too: the program ends.
  void stop();

  /// A scan that is under way. Given up when it goes.
  class Scan {
   public:
    ~Scan();
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

   private:
    friend class SensitiveScans;
    Scan() = default;
    std::stop_source stop_;
    std::shared_ptr<std::set<Scan*>> running_;
    std::shared_ptr<void> busy_;
    Lifetime lifetime_;
  };

  /// Looks at `picture`. `scanned` comes once, later, and never after the scan has gone.
  [[nodiscard]] std::unique_ptr<Scan> scan(Image picture, double pixelsPerPoint,
                                           VisualDetectors enabled,
                                           std::move_only_function<void(Answer)> scanned);

 private:
  Services services_;
  bool isStopped_ = false;
  std::shared_ptr<std::set<Scan*>> running_ = std::make_shared<std::set<Scan*>>();
};

}  // namespace vantorel
