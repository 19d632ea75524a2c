#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// A desktop of painted displays. Every grab shows the next number in its first pixel, so that a
/// test tells pictures apart. It can refuse, and it can stay silent until told to answer. One
/// thread.
class FakeScreen final : public ScreenCapture, public WindowList {
 public:
  explicit FakeScreen(std::shared_ptr<TaskRunner> main);

  std::vector<DisplaySnapshot> connected;
  std::vector<WindowSnapshot> open;
  ScreenPermission permissionNow = ScreenPermission::granted;
  std::optional<Failure> grabFails;
  bool isSilent = false;
  bool dialogVisible = false;
  int grabs = 0;
  std::vector<GrabRequest> requests;

  /// A display of `pixels` at `scale`, right of those before.
  void connect(const std::string& id, PixelSize pixels, double scale = 1);

  /// Gives the answers held back while silent.
  void answerAll();

  /// Tells the listener that the displays changed.
  void notifyDisplaysChanged() { listener_(); }

  /// The number a grab painted into the picture.
  [[nodiscard]] static int numberIn(const Image& image);

  void displays(Reply<std::vector<DisplaySnapshot>> reply) override;
  void grab(GrabRequest request, Reply<GrabbedPicture> reply) override;
  void onDisplaysChange(std::function<void()> listener) override {
    listener_ = std::move(listener);
  }
  void permission(std::move_only_function<void(ScreenPermission)> reply) override;
  void requestPermission(std::move_only_function<void(ScreenPermission)> reply) override;
  [[nodiscard]] bool isSystemDialogVisible() const override { return dialogVisible; }
  void windows(std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) override;

 private:
  void answer(Task task);
  [[nodiscard]] Result<GrabbedPicture> paint(const GrabRequest& request);

  std::shared_ptr<TaskRunner> main_;
  std::function<void()> listener_ = [] {};
  std::deque<Task> held_;
};

}  // namespace vantorel
