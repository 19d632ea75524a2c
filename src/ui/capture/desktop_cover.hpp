#pragma once

#include <QImage>
#include <memory>
#include <vector>

#include "capture/capture_surfaces.hpp"
#include "ui/desktop_ui.hpp"

class QObject;

namespace vantorel {

/// One window over each display, below all others but above the desktop's icons. Lives on the main
/// thread.
class DesktopCover : public DesktopCoverWindows {
 public:
  DesktopCover();
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

  DesktopCoverLook look_;
  std::vector<std::unique_ptr<Window>> windows_;
  std::vector<std::function<void()>> waiting_;  ///< to be told that it is painted
  std::unique_ptr<QObject> reply_;
};

}  // namespace vantorel
