#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "capture/capture_surfaces.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

/// The seconds left, large, in the middle of the display with the pointer. Clicks go through it
/// and it never takes the focus, so that the user can arrange the screen meanwhile. Lives on the
/// main thread.
class CountdownWindow : public CountdownPanel {
 public:
  explicit CountdownWindow(std::shared_ptr<NativeWindows> native);
  ~CountdownWindow() override;

  void show(int secondsLeft) override;
  void hide(std::function<void()> hidden) override;

 private:
  class Panel;

  std::shared_ptr<NativeWindows> native_;
  std::unique_ptr<Panel> panel_;
  Lifetime reply_;
};

}  // namespace vantorel
