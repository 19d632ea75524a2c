#include "render/framed_view.hpp"

#include <algorithm>
#include <memory>

namespace vantorel {
namespace {

/// The same pixels, which are all opaque.
Image asOpaque(const Image& picture) {
  return {picture.size(), picture.stride(), PixelFormat::bgrx,
          std::shared_ptr<const std::uint8_t>(std::shared_ptr<void>(), picture.row(0).data())};
}

}  // namespace

/// Notes the transparency of an area. True when all of it is opaque, and was.
bool FollowingFrame::takeAlpha(const Image& picture, const PixelRect& area) {
  bool isOpaque = true;
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::uint8_t* const row = picture.row(y).data();
    std::uint8_t* const known =
        alpha_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width());
    for (int x = area.x; x < area.right(); ++x) {
      const std::uint8_t alpha = row[std::ptrdiff_t{4} * x + 3];
      isOpaque = isOpaque && alpha == 255 && known[x] == 255;
      known[x] = alpha;
    }
  }
  return isOpaque;
}

std::vector<PixelRect> FollowingFrame::drawAll(const Image& picture) {
  isDrawn_ = true;
  frame_.draw(isOpaque_ ? asOpaque(picture) : picture);
  return {{0, 0, size().width, size().height}};
}

std::vector<PixelRect> FollowingFrame::follow(const Image& picture,
                                              const std::vector<PixelRect>& areas) {
  bool isPlain = true;
  if (picture.format() != PixelFormat::bgrx) {
    const PixelRect all{0, 0, picture.width(), picture.height()};
    if (!isDrawn_) {
      alpha_.resize(static_cast<std::size_t>(picture.width()) *
                    static_cast<std::size_t>(picture.height()));
      takeAlpha(picture, all);
    }
    for (const PixelRect& area : areas) isPlain = takeAlpha(picture, area) && isPlain;
    if (!isPlain || !isDrawn_) {
      isOpaque_ = std::ranges::all_of(alpha_, [](std::uint8_t alpha) { return alpha == 255; });
    }
  }
  // What lies below the corners is kept only for a picture that is opaque all over.
  const bool needsGround = !isOpaque_ && std::ranges::any_of(areas, [this](const PixelRect& area) {
    return frame_.meetsCorner(area);
  });
  if (!isDrawn_ || !isPlain || needsGround) return drawAll(picture);
  const Image opaque = asOpaque(picture);
  std::vector<PixelRect> changed;
  for (const PixelRect& area : areas) {
    frame_.placeOpaque(opaque, area);
    changed.push_back({area.x + margin(), area.y + margin(), area.width, area.height});
  }
  return changed;
}

}  // namespace vantorel
