#pragma once

#include <memory>

#include "capture/capture_surfaces.hpp"

class QObject;

namespace vantorel {

/// The seconds left, large, in the middle of the display with the pointer. Clicks go through it
/// and it never takes the focus, so that the user can arrange the screen meanwhile. Lives on the
/// main thread.
class CountdownWindow : public CountdownPanel {
 public:
  CountdownWindow();
  ~CountdownWindow() override;

  void show(int secondsLeft) override;
  void hide(std::function<void()> hidden) override;

 private:
  class Panel;

  std::unique_ptr<Panel> panel_;
  std::unique_ptr<QObject> reply_;
};

}  // namespace vantorel
