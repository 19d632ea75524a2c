#pragma once

#include <optional>
#include <vector>

#include "platform/linux/x11_frame_ground.hpp"
#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_window_part.hpp"

namespace vantorel {

/// A window with its title bar and without its shadow, also where others cover it: the server keeps
/// its whole content meanwhile.
class X11WindowGround final : public X11FrameGround {
 public:
  /// The failures are those of `findWindowPart`, and `unsupported` (what is covered cannot be
  /// seen). Waits for the application where it has to paint what is covered.
  [[nodiscard]] static Result<std::unique_ptr<X11FrameGround>> make(
      X11Session& session, const FrameStreamRequest& request, WindowID window);
  ~X11WindowGround() override;

  void note(const xcb_generic_event_t& event) override;
  [[nodiscard]] Result<void> update() override;
  [[nodiscard]] bool isShown() const override { return isShown_; }
  [[nodiscard]] PixelSize size() const override { return {part_.crop.width, part_.crop.height}; }
  [[nodiscard]] xcb_window_t watched() const override { return part_.top.id; }
  [[nodiscard]] PixelPoint corner() const override {
    return {part_.crop.x - part_.top.border, part_.crop.y - part_.top.border};
  }
  [[nodiscard]] PixelRect place() const override { return part_.frame; }
  [[nodiscard]] Result<bool> draw(X11FramePictures& pictures,
                                  const X11FramePictures::Picture& picture,
                                  const std::function<void()>& handleEvents) override;

 private:
  X11WindowGround(X11Session& session, xcb_window_t window, std::vector<WindowID> kept)
      : session_(session), window_(window), kept_(std::move(kept)) {}

  [[nodiscard]] Result<void> attach();
  void nameContent();
  void listenTo(xcb_window_t window) const;

  X11Session& session_;
  xcb_window_t window_;
  std::vector<WindowID> kept_;
  XWindowPart part_;
  std::vector<PixelRect> outside_;  // of the shape, from the frame's corner
  xcb_pixmap_t content_ = XCB_NONE;
  std::optional<XRedirection> redirection_;
  bool isShown_ = false;
  bool isStale_ = false;
  bool isGone_ = false;
};

}  // namespace vantorel
