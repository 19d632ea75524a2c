#pragma once

#include <cairo.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"
#include "editor/records/box.hpp"

namespace vantorel {

struct CairoDeleter {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using CairoContext = std::unique_ptr<cairo_t, CairoDeleter>;
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoDeleter>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, CairoDeleter>;

/// Draws with cairo on pixels of any size. The library itself takes at most 32,767 pixels each
/// way, less than a long scrolling capture, so the picture is drawn in tiles. One thread at a time.
class TiledSurface {
 public:
  static constexpr int tileSide = 8192;

  /// `pixels` is premultiplied, and outlives this.
  TiledSurface(std::uint8_t* pixels, std::size_t stride, PixelSize size);

  [[nodiscard]] PixelSize size() const { return size_; }

  /// Runs `draw` for each tile that has a part in both `bounds` and `clip`, in the coordinates of
  /// the whole picture. Nothing outside `clip` changes. What `draw` sets in the context is gone
  /// afterwards.
  void draw(const PixelRect& clip, const PixelRect& bounds,
            const std::function<void(cairo_t*)>& draw);

 private:
  struct Tile {
    PixelRect area;
    CairoContext context;
  };

  PixelSize size_;
  std::vector<Tile> tiles_;
};

/// `image` as a source for cairo, sharing its pixels; `image` outlives it. At most 32,767 pixels
/// each way.
[[nodiscard]] CairoSurface asSource(const Image& image);

/// The smallest pixel rectangle around `box`; wide but finite for boxes beyond all measure.
[[nodiscard]] PixelRect pixelsAround(const Box& box);

}  // namespace vantorel
