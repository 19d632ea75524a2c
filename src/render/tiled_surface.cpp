#include "render/tiled_surface.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {

TiledSurface::TiledSurface(std::uint8_t* pixels, std::size_t stride, PixelSize size) : size_(size) {
  for (int y = 0; y < size.height; y += tileSide) {
    for (int x = 0; x < size.width; x += tileSide) {
      const PixelRect area =
          intersection({x, y, tileSide, tileSide}, {0, 0, size.width, size.height});
      std::uint8_t* const first =
          pixels + static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * 4;
      const CairoSurface surface(cairo_image_surface_create_for_data(
          first, CAIRO_FORMAT_ARGB32, area.width, area.height, static_cast<int>(stride)));
      CairoContext context(cairo_create(surface.get()));
      cairo_translate(context.get(), -x, -y);
      tiles_.push_back({area, std::move(context)});
    }
  }
}

void TiledSurface::draw(const PixelRect& clip, const PixelRect& bounds,
                        const std::function<void(cairo_t*)>& draw) {
  const PixelRect wanted = intersection(clip, bounds);
  for (const Tile& tile : tiles_) {
    const PixelRect part = intersection(wanted, tile.area);
    if (part.isEmpty()) continue;
    cairo_t* const cr = tile.context.get();
    cairo_save(cr);
    cairo_rectangle(cr, part.x, part.y, part.width, part.height);
    cairo_clip(cr);
    draw(cr);
    cairo_restore(cr);
    cairo_surface_flush(cairo_get_target(cr));
  }
}

CairoSurface asSource(const Image& image) {
  // The library takes no constant pixels, but does not write to a source.
  auto* const pixels = const_cast<std::uint8_t*>(image.row(0).data());
  const auto format =
      image.format() == PixelFormat::bgrx ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32;
  return CairoSurface(cairo_image_surface_create_for_data(
      pixels, format, image.width(), image.height(), static_cast<int>(image.stride())));
}

PixelRect pixelsAround(const Box& box) {
  const double most = 1e8;
  const auto whole = [most](double value) {
    return static_cast<int>(std::isnan(value) ? 0 : std::clamp(value, -most, most));
  };
  const int left = whole(std::floor(box.x));
  const int top = whole(std::floor(box.y));
  return {left, top, whole(std::ceil(box.right())) - left, whole(std::ceil(box.bottom())) - top};
}

}  // namespace vantorel
