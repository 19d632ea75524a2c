#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "text/smart_redact.hpp"

namespace vantorel {

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

  /// A scan that is under way. Given up when it goes.
  class Scan {
   public:
    ~Scan() { stop_.request_stop(); }
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

   private:
    friend class SensitiveScans;
    Scan() = default;
    std::stop_source stop_;
    Lifetime lifetime_;
  };

  /// Looks at `picture`. `scanned` comes once, later, and never after the scan has gone.
  [[nodiscard]] std::unique_ptr<Scan> scan(Image picture, double pixelsPerPoint,
                                           VisualDetectors enabled,
                                           std::move_only_function<void(Answer)> scanned);

 private:
  Services services_;
};

}  // namespace vantorel
