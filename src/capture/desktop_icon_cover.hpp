#pragma once

#include <functional>
#include <memory>

#include "capture/capture_surfaces.hpp"

namespace vantorel {

/// Counts who needs the desktop's icons hidden: the cover is up while anybody holds it. Lives on
/// the main runner.
class DesktopIconCover {
 public:
  explicit DesktopIconCover(std::shared_ptr<DesktopCoverWindows> windows)
      : windows_(std::move(windows)) {}

  /// Gives the hold back when it goes.
  class Hold {
   public:
    explicit Hold(std::shared_ptr<DesktopIconCover> cover) : cover_(std::move(cover)) {}
    Hold(Hold&&) noexcept = default;
    Hold& operator=(Hold&&) = delete;
    ~Hold();

   private:
    std::shared_ptr<DesktopIconCover> cover_;
  };

  /// Takes a hold; `ready` is called when the icons are covered.
  [[nodiscard]] static Hold hold(const std::shared_ptr<DesktopIconCover>& cover,
                                 std::function<void()> ready);

  [[nodiscard]] int holds() const { return holds_; }
  [[nodiscard]] std::vector<WindowID> windowIDs() const { return windows_->windowIDs(); }
  void onHoldsChanged(std::function<void(int holds)> listener) { listener_ = std::move(listener); }

 private:
  void change(int by);

  std::shared_ptr<DesktopCoverWindows> windows_;
  std::function<void(int)> listener_;
  int holds_ = 0;
};

}  // namespace vantorel
