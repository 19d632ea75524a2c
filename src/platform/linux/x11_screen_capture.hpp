#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/linux/x11_session.hpp"
#include "platform/linux/x11_worker.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// The thread and connection that capturing and listing share. Nothing is connected yet.
[[nodiscard]] std::shared_ptr<X11Worker> makeCaptureWorker(std::string display,
                                                           WindowContents contents);

/// Captures of an X11 desktop. All waiting for the server happens on the worker; a server that
/// never answers leaves the reply out. Points are pixels over the desktop's one scale ("Xft.dpi"),
/// also for the origins of displays.
class X11ScreenCapture final : public ScreenCapture {
 public:
  X11ScreenCapture(std::shared_ptr<X11Worker> worker, std::shared_ptr<TaskRunner> main);

  void displays(Reply<std::vector<DisplaySnapshot>> reply) override;
  void grab(GrabRequest request, Reply<GrabbedPicture> reply) override;
  void onDisplaysChange(std::function<void()> listener) override;
  void permission(std::move_only_function<void(ScreenPermission)> reply) override;
  void requestPermission(std::move_only_function<void(ScreenPermission)> reply) override;
  [[nodiscard]] bool isSystemDialogVisible() const override { return false; }

 private:
  std::shared_ptr<X11Worker> worker_;
  std::shared_ptr<TaskRunner> main_;
  std::function<void()> displaysListener_;
  Lifetime lifetime_;
};

/// The windows of an X11 desktop. With a window manager its list, otherwise what is mapped.
class X11WindowList final : public WindowList {
 public:
  X11WindowList(std::shared_ptr<X11Worker> worker, std::shared_ptr<TaskRunner> main);

  void windows(std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) override;

 private:
  std::shared_ptr<X11Worker> worker_;
  std::shared_ptr<TaskRunner> main_;
  Lifetime lifetime_;
};

}  // namespace vantorel
