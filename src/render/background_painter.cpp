#include "render/background_painter.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

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

struct Placing {
  double padding = 0;
  double radius = 0;
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

/// A soft shadow of what is opaque, a little below the picture. Made small and stretched: it has no
/// detail to lose.
void paintShadow(TiledSurface& surface, const Image& picture, const Placing& placing,
                 double strength) {
  const double longer = std::max(picture.width(), picture.height());
  const double spread = std::clamp(0.35 * placing.padding, 2.0, 0.04 * longer + 4);
  const double shrink = std::max({1.0, longer / 1024, spread / 8});
  const double margin = std::ceil(2.5 * spread / shrink);
  const double w = picture.width() / shrink;
  const double h = picture.height() / shrink;
  Mask mask(int(std::ceil(w + 2 * margin)), int(std::ceil(h + 2 * margin)));
  const CairoSurface shape = mask.surface();
  {
    const CairoContext cr(cairo_create(shape.get()));
    addRounded(cr.get(), margin, margin, w, h, placing.radius / shrink);
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
  const PixelRect all{0, 0, surface.size().width, surface.size().height};
  surface.draw(all, all, [&](cairo_t* cr) {
    cairo_translate(cr, placing.padding, placing.padding + 0.4 * spread);
    cairo_scale(cr, shrink, shrink);
    cairo_set_source_rgba(cr, 0, 0, 0, std::clamp(strength, 0.0, 1.0));
    cairo_mask_surface(cr, shape.get(), -margin, -margin);
  });
}

}  // namespace

Image withBackground(const Image& picture, const BackgroundSpec& background) {
  if (std::holds_alternative<BackgroundFill::None>(background.fill.value)) return picture;
  Placing placing;
  placing.padding = paddingPixels(background, {double(picture.width()), double(picture.height())});
  const double shorter = std::min(picture.width(), picture.height());
  placing.radius = std::clamp(background.cornerRadius, 0.0, shorter / 2);
  const int margin = static_cast<int>(placing.padding);
  const PixelSize size{picture.width() + 2 * margin, picture.height() + 2 * margin};
  MutableImage result(size, PixelFormat::bgrx);
  TiledSurface surface(result.row(0).data(), result.stride(), size);
  const PixelRect all{0, 0, size.width, size.height};
  const CairoPattern fill = fillPattern(background.fill, size);
  surface.draw(all, all, [&](cairo_t* cr) {
    cairo_set_source(cr, fill.get());
    cairo_paint(cr);
  });
  if (background.shadow && background.shadowStrength > 0 && margin > 0) {
    paintShadow(surface, picture, placing, background.shadowStrength);
  }
  const bool isTranslucent = picture.format() != PixelFormat::bgrx;
  forEachPart(picture, [&](cairo_surface_t* source, const PixelRect& part) {
    const PixelRect place{part.x + margin, part.y + margin, part.width, part.height};
    surface.draw(all, place, [&](cairo_t* cr) {
      addRounded(cr, margin, margin, picture.width(), picture.height(), placing.radius);
      cairo_clip(cr);
      if (isTranslucent) {
        // What shines through glass is the background, not the glass's own shadow.
        cairo_set_source(cr, fill.get());
        cairo_mask_surface(cr, source, place.x, place.y);
      }
      cairo_set_source_surface(cr, source, place.x, place.y);
      cairo_paint(cr);
    });
  });
  return std::move(result).finish();
}

}  // namespace vantorel
