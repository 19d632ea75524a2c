#include "render/background_painter.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <span>
#include <utility>

#include "editor/background_gradient.hpp"
#include "editor/canvas_size.hpp"
#include "editor/export_gate.hpp"
#include "render/ink.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

void addRounded(cairo_t* cr, double x, double y, double w, double h, double radius) {
  if (radius <= 0) {
    cairo_rectangle(cr, x, y, w, h);
    return;
  }
  cairo_new_sub_path(cr);
  cairo_arc(cr, x + w - radius, y + radius, radius, -M_PI / 2, 0);
  cairo_arc(cr, x + w - radius, y + h - radius, radius, 0, M_PI / 2);
  cairo_arc(cr, x + radius, y + h - radius, radius, M_PI / 2, M_PI);
  cairo_arc(cr, x + radius, y + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

CairoPattern fillPattern(const BackgroundFill& fill, PixelSize size) {
  if (const auto* solid = std::get_if<BackgroundFill::Solid>(&fill.value)) {
    const Ink ink = inkOf(solid->color);
    return CairoPattern(cairo_pattern_create_rgb(ink.r, ink.g, ink.b));
  }
  const auto* named = std::get_if<BackgroundFill::Gradient>(&fill.value);
  const BackgroundGradient* gradient = findGradient(named->id);
  // A gradient of a newer build still is a background.
  if (gradient == nullptr) gradient = &backgroundGradients().front();
  CairoPattern pattern(
      cairo_pattern_create_linear(gradient->start.x * size.width, gradient->start.y * size.height,
                                  gradient->end.x * size.width, gradient->end.y * size.height));
  for (std::size_t i = 0; i < gradient->stops.size(); ++i) {
    const Ink ink = inkOf(std::string(gradient->stops[i]));
    cairo_pattern_add_color_stop_rgb(pattern.get(), double(i) / double(gradient->stops.size() - 1),
                                     ink.r, ink.g, ink.b);
  }
  return pattern;
}

/// A one-channel picture, blurred in place.
class Mask {
 public:
  Mask(int width, int height)
      : width_(width),
        height_(height),
        stride_(cairo_format_stride_for_width(CAIRO_FORMAT_A8, width)),
        bytes_(static_cast<std::size_t>(stride_) * static_cast<std::size_t>(height)) {}

  [[nodiscard]] std::span<const std::uint8_t> row(int y) const {
    return {bytes_.data() + static_cast<std::ptrdiff_t>(y) * stride_,
            static_cast<std::size_t>(width_)};
  }

  [[nodiscard]] CairoSurface surface() {
    return CairoSurface(cairo_image_surface_create_for_data(bytes_.data(), CAIRO_FORMAT_A8, width_,
                                                            height_, stride_));
  }

  /// Three running means in a row come close to a bell curve.
  void blur(int radius) {
    for (int pass = 0; pass < 3; ++pass) {
      for (int y = 0; y < height_; ++y) mean(at(0, y), 1, width_, radius);
      for (int x = 0; x < width_; ++x) mean(at(x, 0), stride_, height_, radius);
    }
  }

 private:
  std::uint8_t* at(int x, int y) {
    return bytes_.data() + static_cast<std::ptrdiff_t>(y) * stride_ + x;
  }

  void mean(std::uint8_t* first, int step, int count, int radius) {
    line_.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      line_[static_cast<std::size_t>(i)] = first[static_cast<std::ptrdiff_t>(i) * step];
    }
    const auto value = [&](int i) {
      return i < 0 || i >= count ? 0 : int(line_[static_cast<std::size_t>(i)]);
    };
    int sum = 0;
    for (int i = -radius; i < radius; ++i) sum += value(i);
    const int length = 2 * radius + 1;
    for (int i = 0; i < count; ++i) {
      sum += value(i + radius);
      first[static_cast<std::ptrdiff_t>(i) * step] =
          static_cast<std::uint8_t>((sum + length / 2) / length);
      sum -= value(i - radius);
    }
  }

  int width_;
  int height_;
  int stride_;
  std::vector<std::uint8_t> bytes_;
  std::vector<std::uint8_t> line_;
};

/// Runs `draw` for each part of a picture, which may be longer than the library takes at once, with
/// the part as a source and where it lies.
void forEachPart(const Image& picture,
                 const std::function<void(cairo_surface_t*, const PixelRect&)>& draw) {
  for (int y = 0; y < picture.height(); y += TiledSurface::tileSide) {
    for (int x = 0; x < picture.width(); x += TiledSurface::tileSide) {
      const PixelRect part = intersection({x, y, TiledSurface::tileSide, TiledSurface::tileSide},
                                          {0, 0, picture.width(), picture.height()});
      const Image piece = picture.cropped(part);
      draw(asSource(piece).get(), part);
    }
  }
}

std::uint32_t pixelAt(const std::uint8_t* row, int x) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, row + std::ptrdiff_t{4} * x, 4);
  return pixel;
}

void setPixel(std::uint8_t* row, int x, std::uint32_t pixel) {
  std::memcpy(row + std::ptrdiff_t{4} * x, &pixel, 4);
}

/// `share` in 255ths of `over`, the rest of `under`, part by part.
std::uint32_t mixed(std::uint32_t under, std::uint32_t over, std::uint32_t share) {
  std::uint32_t result = 0;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    const std::uint32_t sum =
        (under >> shift & 0xffU) * (255 - share) + (over >> shift & 0xffU) * share;
    result |= (sum + 127) / 255 << shift;
  }
  return result;
}

std::uint32_t scaled(std::uint32_t pixel, std::uint32_t share) { return mixed(0, pixel, share); }

std::uint32_t sumOf(std::uint32_t a, std::uint32_t b) {
  std::uint32_t result = 0;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    result |= std::min((a >> shift & 0xffU) + (b >> shift & 0xffU), 255U) << shift;
  }
  return result;
}

}  // namespace

PictureFrame::Corner::Corner(double radius) : side(static_cast<int>(std::ceil(radius))) {
  if (side == 0) return;
  Mask mask(side, side);
  const CairoSurface surface = mask.surface();
  {
    const CairoContext cr(cairo_create(surface.get()));
    addRounded(cr.get(), 0, 0, 4 * radius, 4 * radius, radius);
    cairo_fill(cr.get());
  }
  cairo_surface_flush(surface.get());
  for (int y = 0; y < side; ++y) {
    const auto row = mask.row(y);
    coverage.insert(coverage.end(), row.begin(), row.begin() + side);
  }
}

PictureFrame::PictureFrame(BackgroundSpec background, PixelSize picture)
    : background_(std::move(background)),
      picture_(picture),
      margin_(static_cast<int>(
          paddingPixels(background_, {double(picture.width), double(picture.height)}))),
      radius_(
          std::clamp(background_.cornerRadius, 0.0, std::min(picture.width, picture.height) / 2.0)),
      corner_(radius_),
      size_{picture.width + 2 * margin_, picture.height + 2 * margin_},
      result_(std::make_unique<MutableImage>(size_, PixelFormat::bgrx)) {}

/// How much of a pixel of the picture is within its rounded outline, in 255ths.
std::uint32_t PictureFrame::coverageAt(int x, int y) const {
  const auto at = [this](int column, int row) {
    const int side = corner_.side;
    if (column >= side || row >= side) return std::uint8_t{255};
    return corner_.coverage[static_cast<std::size_t>(row * side + column)];
  };
  const int right = picture_.width - 1 - x;
  const int below = picture_.height - 1 - y;
  return std::min({at(x, y), at(right, y), at(x, below), at(right, below)});
}

/// The parts of the picture in which its corners are cut off.
std::array<PixelRect, 4> PictureFrame::corners() const {
  const int side = corner_.side;
  const int right = picture_.width - side;
  const int below = picture_.height - side;
  return {{{0, 0, side, side},
           {right, 0, side, side},
           {0, below, side, side},
           {right, below, side, side}}};
}

/// The fill, with the shadow on it, in all that an opaque picture leaves to be seen, or everywhere.
void PictureFrame::drawGround(const Image& picture) {
  const bool isOpaque = picture.format() == PixelFormat::bgrx;
  TiledSurface surface(result_->row(0).data(), result_->stride(), size_);
  const CairoPattern fill = fillPattern(background_.fill, size_);
  std::vector<PixelRect> parts{{0, 0, size_.width, size_.height}};
  const int band = margin_ + corner_.side;
  if (isOpaque && 2 * band < std::min(size_.width, size_.height)) {
    const int middle = size_.height - 2 * band;
    parts = {{0, 0, size_.width, band},
             {0, size_.height - band, size_.width, band},
             {0, band, band, middle},
             {size_.width - band, band, band, middle}};
  }
  for (const PixelRect& part : parts) {
    surface.draw(part, part, [&](cairo_t* cr) {
      cairo_set_source(cr, fill.get());
      cairo_paint(cr);
    });
  }
  if (background_.shadow && background_.shadowStrength > 0 && margin_ > 0) {
    drawShadow(surface, picture, parts);
  }
}

/// A soft shadow of what is opaque, a little below the picture. Made small and stretched: it has no
/// detail to lose.
void PictureFrame::drawShadow(TiledSurface& surface, const Image& picture,
                              const std::vector<PixelRect>& parts) const {
  const double longer = std::max(picture.width(), picture.height());
  const double spread = std::clamp(0.35 * margin_, 2.0, 0.04 * longer + 4);
  const double shrink = std::max({1.0, longer / 1024, spread / 8});
  const double margin = std::ceil(2.5 * spread / shrink);
  const double w = picture.width() / shrink;
  const double h = picture.height() / shrink;
  Mask mask(int(std::ceil(w + 2 * margin)), int(std::ceil(h + 2 * margin)));
  const CairoSurface shape = mask.surface();
  {
    const CairoContext cr(cairo_create(shape.get()));
    addRounded(cr.get(), margin, margin, w, h, radius_ / shrink);
    if (picture.format() == PixelFormat::bgrx) {
      cairo_fill(cr.get());
    } else {
      cairo_clip(cr.get());
      cairo_translate(cr.get(), margin, margin);
      cairo_scale(cr.get(), 1 / shrink, 1 / shrink);
      forEachPart(picture, [&](cairo_surface_t* source, const PixelRect& part) {
        cairo_set_source_surface(cr.get(), source, part.x, part.y);
        cairo_paint(cr.get());
      });
    }
  }
  cairo_surface_flush(shape.get());
  mask.blur(std::max(1, int(std::round(spread / shrink * 0.6))));
  cairo_surface_mark_dirty(shape.get());
  const double strength = std::clamp(background_.shadowStrength, 0.0, 1.0);
  for (const PixelRect& part : parts) {
    surface.draw(part, part, [&](cairo_t* cr) {
      cairo_translate(cr, margin_, margin_ + 0.4 * spread);
      cairo_scale(cr, shrink, shrink);
      cairo_set_source_rgba(cr, 0, 0, 0, strength);
      cairo_mask_surface(cr, shape.get(), -margin, -margin);
    });
  }
}

/// Puts an opaque picture's pixels in place; where corners are cut off, over the ground in `below`.
void PictureFrame::placeOpaque(const Image& picture, const PixelRect& area) {
  for (int y = area.y; y < area.bottom(); ++y) {
    std::memcpy(result_->row(y + margin_).data() + std::ptrdiff_t{4} * (area.x + margin_),
                picture.row(y).data() + std::ptrdiff_t{4} * area.x,
                static_cast<std::size_t>(area.width) * 4);
  }
  const auto all = corners();
  for (std::size_t i = 0; i < all.size(); ++i) {
    const PixelRect part = intersection(all[i], area);
    for (int y = part.y; y < part.bottom(); ++y) {
      const std::uint8_t* const from = picture.row(y).data();
      std::uint8_t* const to = result_->row(y + margin_).data() + std::ptrdiff_t{4} * margin_;
      const std::uint32_t* const below =
          below_[i].data() + static_cast<std::ptrdiff_t>(y - all[i].y) * all[i].width;
      for (int x = part.x; x < part.right(); ++x) {
        setPixel(to, x, mixed(below[x - all[i].x], pixelAt(from, x), coverageAt(x, y)));
      }
    }
  }
}

bool PictureFrame::meetsCorner(const PixelRect& area) const {
  return std::ranges::any_of(
      corners(), [&](const PixelRect& corner) { return !intersection(corner, area).isEmpty(); });
}

/// What shines through glass is the background, not the glass's own shadow.
void PictureFrame::placeTranslucent(const Image& picture) {
  const CairoPattern fill = fillPattern(background_.fill, size_);
  MutableImage band({picture_.width, 1}, PixelFormat::bgrx);
  for (int y = 0; y < picture_.height; ++y) {
    {
      TiledSurface surface(band.row(0).data(), band.stride(), band.size());
      surface.draw({0, 0, picture_.width, 1}, {0, 0, picture_.width, 1}, [&](cairo_t* cr) {
        cairo_translate(cr, -margin_, -(margin_ + y));
        cairo_set_source(cr, fill.get());
        cairo_paint(cr);
      });
    }
    const std::uint8_t* const from = picture.row(y).data();
    const std::uint8_t* const shining = band.row(0).data();
    std::uint8_t* const to = result_->row(y + margin_).data() + std::ptrdiff_t{4} * margin_;
    for (int x = 0; x < picture_.width; ++x) {
      const std::uint32_t own = scaled(pixelAt(from, x), coverageAt(x, y));
      const std::uint32_t share = own >> 24U;
      const std::uint32_t below = mixed(pixelAt(to, x), pixelAt(shining, x), share);
      setPixel(to, x, sumOf(own, scaled(below, 255 - share)));
    }
  }
}

void PictureFrame::draw(const Image& picture) {
  drawGround(picture);
  if (picture.format() != PixelFormat::bgrx) return placeTranslucent(picture);
  const auto all = corners();
  for (std::size_t i = 0; i < all.size(); ++i) {
    below_[i].clear();
    for (int y = all[i].y; y < all[i].bottom(); ++y) {
      const std::uint8_t* const row =
          result_->row(y + margin_).data() + std::ptrdiff_t{4} * margin_;
      for (int x = all[i].x; x < all[i].right(); ++x) below_[i].push_back(pixelAt(row, x));
    }
  }
  placeOpaque(picture, {0, 0, picture_.width, picture_.height});
}

Image PictureFrame::finish() && { return std::move(*result_).finish(); }

Image withBackground(const Image& picture, const BackgroundSpec& background) {
  if (std::holds_alternative<BackgroundFill::None>(background.fill.value)) return picture;
  PictureFrame frame(background, picture.size());
  frame.draw(picture);
  return std::move(frame).finish();
}

}  // namespace vantorel
