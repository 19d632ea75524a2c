#pragma once

#include "platform/scene_view.hpp"
#include "render/background_painter.hpp"

namespace vantorel {

/// Frames with `PictureFrame`. Where nothing transparent is concerned, it touches only what
/// changed; else the shadow may follow, and all is drawn.
class FollowingFrame final : public FramedView {
 public:
  FollowingFrame(const BackgroundSpec& background, PixelSize picture)
      : frame_(background, picture) {}

  std::vector<PixelRect> follow(const Image& picture, const std::vector<PixelRect>& areas) override;
  [[nodiscard]] int margin() const override { return frame_.margin(); }
  [[nodiscard]] PixelSize size() const override { return frame_.size(); }
  [[nodiscard]] const std::uint8_t* pixels() const override { return frame_.pixels(); }
  [[nodiscard]] std::size_t stride() const override { return frame_.stride(); }

 private:
  bool takeAlpha(const Image& picture, const PixelRect& area);
  std::vector<PixelRect> drawAll(const Image& picture);

  PictureFrame frame_;
  bool isDrawn_ = false;
  bool isOpaque_ = true;
  std::vector<std::uint8_t> alpha_;  // of a picture that has any
};

}  // namespace vantorel
