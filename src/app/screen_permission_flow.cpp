#include "app/screen_permission_flow.hpp"

#include <utility>

#include "base/bounded_run.hpp"

namespace vantorel {

void ScreenPermissionFlow::preflight(std::function<void(bool)> answer) {
  const auto known = [this, answer = std::move(answer)](std::optional<ScreenPermission> now) {
    // A service that does not even say this lets the grab find out, which has words for it.
    if (!now) return answer(true);
    switch (*now) {
      case ScreenPermission::granted: answer(true); return;
      case ScreenPermission::denied: refused(answer); return;
      case ScreenPermission::grantedAfterRelaunch:
        relaunch();
        answer(false);
        return;
      case ScreenPermission::undetermined: break;
    }
    screen_.requestPermission(lifetime_.guard([this, answer](ScreenPermission asked) {
      if (asked == ScreenPermission::granted) {
        answer(true);
      } else if (asked == ScreenPermission::grantedAfterRelaunch) {
        relaunch();
        answer(false);
      } else {
        refused(answer);
      }
    }));
  };
  runBounded<ScreenPermission>(
      main_, {queryBound, queryBound, {}},
      [this](std::move_only_function<void(ScreenPermission)> reply) {
        screen_.permission(std::move(reply));
      },
      lifetime_.guard(known), nullptr);
}

void ScreenPermissionFlow::relaunch() {
  if (relaunch_()) return;
  alerts_.notify("Screen capture",
                 "Vantorel couldn't relaunch itself from this location. Quit Vantorel and open it "
                 "again to finish enabling capture.");
}

void ScreenPermissionFlow::refused(const std::function<void(bool)>& answer) {
  if (!std::exchange(alertPresented_, true)) {
    alerts_.ask({.style = Alert::Style::warning,
                 .message = "Vantorel isn't allowed to capture the screen",
                 .informative = "Allow screen capture for Vantorel in the desktop's settings. "
                                "Captures work as soon as it is allowed.",
                 .buttons = {{"OK", true}}},
                [](std::size_t) {});
  }
  watch();
  answer(false);
}

void ScreenPermissionFlow::watch() {
  watching_ = true;
  look(++watchGeneration_);
}

void ScreenPermissionFlow::look(std::uint64_t generation) {
  main_->postAfter(watchInterval, lifetime_.guard([this, generation] {
    if (generation != watchGeneration_) return;
    screen_.permission(lifetime_.guard([this, generation](ScreenPermission now) {
      if (generation != watchGeneration_) return;
      if (now == ScreenPermission::denied || now == ScreenPermission::undetermined) {
        look(generation);
        return;
      }
      watching_ = false;
      if (now == ScreenPermission::grantedAfterRelaunch) relaunch();
      if (onGranted_) onGranted_();
    }));
  }));
}

}  // namespace vantorel
