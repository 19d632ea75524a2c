#include "capture/timed_capture_controller.hpp"

#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::uint32_t escapeKeysym = 0xFF1B;

}  // namespace

TimedCaptureController::TimedCaptureController(std::shared_ptr<TaskRunner> main,
                                               std::shared_ptr<const Clock> clock,
                                               std::shared_ptr<CountdownPanel> panel,
                                               HotKeys* hotKeys)
    : main_(std::move(main)),
      clock_(std::move(clock)),
      panel_(std::move(panel)),
      hotKeys_(hotKeys) {}

void TimedCaptureController::start(std::chrono::seconds delay, std::function<void(bool)> ended) {
  VT_CHECK(!isRunning());
  if (delay.count() <= 0) {
    ended(true);
    return;
  }
  ended_ = std::move(ended);
  zero_ = clock_->monotonic() + delay;
  if (hotKeys_ != nullptr) {
    escape_ = hotKeys_->registerKey(
        {escapeKeysym, 0}, lifetime_.guard([this] { cancel(); }), nullptr,
        [](const HotKeys::State& state) {
          if (!state) logWarning("HotKey", "Escape could not be registered for the countdown");
        });
  }
  tick();
}

void TimedCaptureController::tick() {
  const auto left = zero_ - clock_->monotonic();
  if (left.count() <= 0) {
    end(true);
    return;
  }
  const auto seconds = std::chrono::ceil<std::chrono::seconds>(left);
  panel_->show(static_cast<int>(seconds.count()));
  main_->postAfter(left - (seconds - std::chrono::seconds(1)), lifetime_.guard([this] { tick(); }));
}

void TimedCaptureController::cancel() {
  if (isRunning()) end(false);
}

void TimedCaptureController::end(bool reachedZero) {
  lifetime_.renew();
  escape_.reset();
  panel_->hide(lifetime_.guard([this, reachedZero] {
    if (ended_) std::exchange(ended_, nullptr)(reachedZero);
  }));
}

}  // namespace vantorel
