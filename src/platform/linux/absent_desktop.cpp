#include "platform/linux/absent_desktop.hpp"

namespace vantorel {

void AbsentScreenCapture::permission(std::move_only_function<void(ScreenPermission)> reply) {
  main_->post(
      alive_.guard([reply = std::move(reply)]() mutable { reply(ScreenPermission::granted); }));
}

void AbsentScreenCapture::requestPermission(std::move_only_function<void(ScreenPermission)> reply) {
  permission(std::move(reply));
}

void AbsentWindowList::windows(
    std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) {
  main_->post(alive_.guard([reply = std::move(reply), why = why_]() mutable {
    reply(std::unexpected(std::move(why)));
  }));
}

Failure WaylandScreenCapture::reason() {
  return {FailureKind::unsupported,
          "Vantorel cannot capture the screen, list windows or set hot keys on a Wayland desktop "
          "yet; it can on an X11 session."};
}

}  // namespace vantorel
