#pragma once

#include <optional>

#include "platform/linux/x11_area_reader.hpp"
#include "platform/linux/x11_frame_ground.hpp"
#include "platform/linux/x11_own_windows.hpp"

namespace vantorel {

/// A part of the screen, without this program's own windows: read at once where none of them is
/// near, composed where one is.
class X11AreaGround final : public X11FrameGround {
 public:
  /// The failures are those of `areaOf`.
  [[nodiscard]] static Result<std::unique_ptr<X11FrameGround>> make(
      X11Session& session, const FrameStreamRequest& request);

  void note(const xcb_generic_event_t& event) override;
  [[nodiscard]] Result<void> update() override;
  [[nodiscard]] bool isShown() const override { return true; }
  [[nodiscard]] PixelSize size() const override { return {area_.width, area_.height}; }
  [[nodiscard]] xcb_window_t watched() const override { return session_.screen().root; }
  [[nodiscard]] PixelPoint corner() const override { return {area_.x, area_.y}; }
  [[nodiscard]] PixelRect place() const override { return area_; }
  [[nodiscard]] Result<bool> draw(X11FramePictures& pictures,
                                  const X11FramePictures::Picture& picture,
                                  const std::function<void()>& handleEvents) override;

 private:
  X11AreaGround(X11Session& session, const FrameStreamRequest& request, CaptureTarget displays,
                const PixelRect& displayArea, const PixelRect& area)
      : session_(session),
        kept_(request.keptOwnWindowIDs),
        displays_(std::move(displays)),
        displayArea_(displayArea),
        area_(area),
        own_(session, kept_) {}

  [[nodiscard]] Result<bool> ownWindowsAreNear();
  [[nodiscard]] Result<void> readAtOnce(X11FramePictures& pictures,
                                        const X11FramePictures::Picture& picture) const;

  X11Session& session_;
  std::vector<WindowID> kept_;
  CaptureTarget displays_;  // those that the area lies on
  PixelRect displayArea_;
  PixelRect area_;
  X11OwnWindows own_;
  std::optional<X11AreaReader> composing_;  // while own windows are near
};

}  // namespace vantorel
