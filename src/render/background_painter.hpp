#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/image.hpp"
#include "editor/records/background_spec.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {

/// A picture with its background: the fill, the shadow, and the picture with rounded corners on it.
/// Any thread, one at a time.
class PictureFrame {
 public:
  /// `background` has a fill. The result has at most 134 million pixels; the caller checks.
  PictureFrame(BackgroundSpec background, PixelSize picture);

  /// Draws all of it.
  void draw(const Image& picture);

  /// After `draw`: takes over a changed area of the picture in which it is and was opaque. The
  /// same, to the last bit, as `draw`. At a corner only when all of the picture is opaque.
  void placeOpaque(const Image& picture, const PixelRect& area);
  /// Whether an area of the picture has a part in what the rounding of its corners cuts.
  [[nodiscard]] bool meetsCorner(const PixelRect& area) const;

  [[nodiscard]] int margin() const { return margin_; }
  [[nodiscard]] PixelSize size() const { return size_; }
  [[nodiscard]] std::size_t stride() const { return result_->stride(); }
  /// Opaque; the fourth byte means nothing.
  [[nodiscard]] const std::uint8_t* pixels() const { return result_->row(0).data(); }

  /// Gives the picture away.
  [[nodiscard]] Image finish() &&;

 private:
  /// How much of each pixel in the top left corner is within its rounding; the others mirror it.
  struct Corner {
    explicit Corner(double radius);
    int side = 0;
    std::vector<std::uint8_t> coverage;
  };

  [[nodiscard]] std::uint32_t coverageAt(int x, int y) const;
  [[nodiscard]] std::array<PixelRect, 4> corners() const;
  void drawGround(const Image& picture);
  void drawShadow(TiledSurface& surface, const Image& picture,
                  const std::vector<PixelRect>& parts) const;
  void placeTranslucent(const Image& picture);

  BackgroundSpec background_;
  PixelSize picture_;
  int margin_ = 0;
  double radius_ = 0;
  Corner corner_;
  PixelSize size_;
  std::unique_ptr<MutableImage> result_;
  std::array<std::vector<std::uint32_t>, 4> below_;  // the ground in the corners
};

/// `picture` with its background, or itself when there is no fill.
[[nodiscard]] Image withBackground(const Image& picture, const BackgroundSpec& background);

}  // namespace vantorel
