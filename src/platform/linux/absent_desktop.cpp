#include "platform/linux/absent_desktop.hpp"

namespace vantorel {

void AbsentScreenCapture::permission(std::move_only_function<void(ScreenPermission)> reply) {
  main_->post(
      lifetime_.guard([reply = std::move(reply)]() mutable { reply(ScreenPermission::granted); }));
}

void AbsentScreenCapture::requestPermission(std::move_only_function<void(ScreenPermission)> reply) {
  permission(std::move(reply));
}

void AbsentFrameStreams::start(
    FrameStreamRequest, FrameListener,
    std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) {
  main_->post(lifetime_.guard([reply = std::move(reply), why = why_]() mutable {
    reply(std::unexpected(std::move(why)));
  }));
}

void AbsentWindowList::windows(
    std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) {
  main_->post(lifetime_.guard([reply = std::move(reply), why = why_]() mutable {
    reply(std::unexpected(std::move(why)));
  }));
}

std::unique_ptr<HotKeyRegistration> AbsentHotKeys::registerKey(const HotKeySpec&,
                                                               std::function<void()>,
                                                               std::function<void()>,
                                                               std::function<void(State)> onState) {
  struct Refused final : HotKeyRegistration {
    Lifetime lifetime;
  };
  auto refused = std::make_unique<Refused>();
  main_->post(refused->lifetime.guard([onState = std::move(onState)] {
    if (onState) onState(std::unexpected(HotKeyError{}));
  }));
  return refused;
}

Failure WaylandScreenCapture::reason() {
  return {FailureKind::unsupported,
          "Vantorel cannot capture the screen, list windows or set hot keys on a Wayland desktop "
          "yet; it can on an X11 session."};
}

}  // namespace vantorel
