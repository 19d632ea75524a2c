#pragma once

#include <memory>
#include <vector>

#include "base/lifetime.hpp"
#include "capture/capture_surfaces.hpp"
#include "platform/native_windows.hpp"
#include "ui/desktop_ui.hpp"

class QTimer;

namespace vantorel {

/// One window over each display, below all others but above the desktop's icons. Lives on the main
/// thread.
class DesktopCover : public DesktopCoverWindows {
 public:
  explicit DesktopCover(std::shared_ptr<NativeWindows> native);
  ~DesktopCover() override;

  /// How the next cover looks.
  void setLook(DesktopCoverLook look) { look_ = std::move(look); }

  void show(std::function<void()> painted) override;
  void hide() override;
  [[nodiscard]] std::vector<WindowID> windowIDs() const override;

 private:
  class Window;

  void build();
  [[nodiscard]] bool isPainted() const;

  std::shared_ptr<NativeWindows> native_;
  DesktopCoverLook look_;
  std::vector<std::unique_ptr<Window>> windows_;
  std::vector<std::function<void()>> waiting_;  ///< to be told that it is painted
  std::unique_ptr<QTimer> poll_;                ///< until it is painted
  Lifetime reply_;
};

}  // namespace vantorel
