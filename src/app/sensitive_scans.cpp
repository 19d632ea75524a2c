#include "app/sensitive_scans.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {

VisualDetectors enabledDetectors(const SettingsValues& settings) {
  VisualDetectors enabled;
  if (settings.smartRedactFaces) enabled |= VisualDetectors::faces;
  if (settings.smartRedactPeople) enabled |= VisualDetectors::people;
  return enabled;
}

SensitiveScans::Scan::~Scan() {
  stop_.request_stop();
  running_->erase(this);
}

void SensitiveScans::stop() {
  isStopped_ = true;
  for (Scan* const scan : *running_) scan->stop_.request_stop();
}

std::unique_ptr<SensitiveScans::Scan> SensitiveScans::scan(
    Image picture, double pixelsPerPoint, VisualDetectors enabled,
    std::move_only_function<void(Answer)> scanned) {
  std::unique_ptr<Scan> scan(new Scan);
  scan->running_ = running_;
  running_->insert(scan.get());
  if (isStopped_) scan->stop_.request_stop();
  if (onBusy) scan->busy_ = onBusy();
  roundTrip(
      *services_.work, services_.main,
      [smartRedact = services_.smartRedact, picture = std::move(picture), pixelsPerPoint, enabled,
       stop = scan->stop_.get_token()]() -> Answer {
        if (stop.stop_requested()) {
          return std::unexpected(RecognitionFailure{RecognitionFailure::Case::cancelled, {}});
        }
        return smartRedact->run(picture, pixelsPerPoint, enabled, stop);
      },
      scan->lifetime_.guard(
          [scan = scan.get(), scanned = std::move(scanned)](Answer answer) mutable {
            scan->busy_.reset();
            scanned(std::move(answer));
          }));
  return scan;
}

}  // namespace vantorel
