#include "render/layer_builder.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "editor/canvas_size.hpp"
#include "editor/layer_layout.hpp"
#include "render/ink.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

constexpr int longestSourceSide = 32'767;  // of a picture that has to be scaled

/// A visible layer, or the capture of a document that has no layer for it.
struct Piece {
  std::string id;  // empty for the implied capture
  Image picture;
  Box frame;
  double opacity = 1;
  std::optional<LayerBorder> border;

  /// The filter reaches one source pixel where it enlarges, one of the result where it shrinks.
  [[nodiscard]] int bleed() const {
    if (isUnscaled()) return 0;
    const double scale = std::max({frame.w / picture.width(), frame.h / picture.height(), 1.0});
    return static_cast<int>(std::min(std::ceil(scale) + 1, 1e6));
  }

  [[nodiscard]] bool isUnscaled() const {
    return frame.w == picture.width() && frame.h == picture.height() &&
           frame.x == std::trunc(frame.x) && frame.y == std::trunc(frame.y);
  }
};

bool isUsable(const Box& frame) {
  return std::isfinite(frame.x) && std::isfinite(frame.y) && std::isfinite(frame.w) &&
         std::isfinite(frame.h) && frame.w > 0 && frame.h > 0;
}

Box framed(const LayerSpec& layer, PixelSize pixels) {
  if (isUsable(layer.frame)) return layer.frame;
  return {0, 0, double(pixels.width), double(pixels.height)};
}

bool canBeDrawn(const Image& picture, const Box& frame) {
  if (!isPossibleSize(picture.width(), picture.height())) return false;
  const bool unscaled = frame.w == picture.width() && frame.h == picture.height();
  return unscaled || std::max(picture.width(), picture.height()) <= longestSourceSide;
}

std::vector<Piece> collect(const EditorDocument& document, const Image& base,
                           const ReadLayerPicture& readPicture, LayerComposite& composite) {
  std::vector<Piece> pieces;
  if (captureLayer(document.layers) == nullptr) {
    pieces.push_back({"", base, {0, 0, double(base.width()), double(base.height())}, 1, {}});
  }
  for (const LayerSpec& layer : document.layers) {
    if (!layer.visible) continue;
    Piece piece{layer.id, base, {}, std::clamp(layer.opacity.value_or(1), 0.0, 1.0), layer.border};
    if (layer.path) {
      Result<Image> picture = readPicture(layer);
      if (!picture) {
        const bool large = picture.error().kind == FailureKind::tooLarge;
        (large ? composite.oversizedLayerIDs : composite.missingLayerIDs).push_back(layer.id);
        continue;
      }
      piece.picture = *std::move(picture);
    }
    piece.frame = framed(layer, piece.picture.size());
    if (!canBeDrawn(piece.picture, piece.frame)) {
      composite.oversizedLayerIDs.push_back(layer.id);
      continue;
    }
    composite.bleed = std::max(composite.bleed, piece.bleed());
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

/// Copies what is on whole pixels; cairo would do the same, with a limit to the side.
void copyPixels(MutableImage& target, const Piece& piece) {
  const int dx = static_cast<int>(std::clamp(piece.frame.x, -1e8, 1e8));
  const int dy = static_cast<int>(std::clamp(piece.frame.y, -1e8, 1e8));
  const Image& picture = piece.picture;
  const PixelRect part = intersection({dx, dy, picture.width(), picture.height()},
                                      {0, 0, target.size().width, target.size().height});
  const bool opaque = picture.format() == PixelFormat::bgrx;
  for (int y = part.y; y < part.bottom(); ++y) {
    const auto skip = static_cast<std::size_t>(part.x - dx) * 4;
    const std::uint8_t* const from = picture.row(y - dy).data() + skip;
    std::uint8_t* const to = target.row(y).data() + static_cast<std::size_t>(part.x) * 4;
    const auto count = static_cast<std::size_t>(part.width);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t over = 0;
      std::memcpy(&over, from + 4 * i, 4);
      if (opaque) over |= 0xff000000U;
      const std::uint32_t rest = 255 - (over >> 24U);
      if (rest != 0) {
        std::uint32_t under = 0;
        std::memcpy(&under, to + 4 * i, 4);
        for (unsigned shift = 0; shift < 32; shift += 8) {
          const std::uint32_t product = (under >> shift & 0xffU) * rest + 128;
          over += ((product + (product >> 8U)) >> 8U) << shift;
        }
      }
      std::memcpy(to + 4 * i, &over, 4);
    }
  }
}

void addBorder(cairo_t* cr, const Piece& piece) {
  const double width = std::min({piece.border->width, piece.frame.w / 2, piece.frame.h / 2});
  const Box inner = grown(piece.frame, -width);
  cairo_rectangle(cr, piece.frame.x, piece.frame.y, piece.frame.w, piece.frame.h);
  cairo_rectangle(cr, inner.x, inner.y, inner.w, inner.h);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
  inkOf(piece.border->color).set(cr);
  cairo_fill(cr);
}

void paintScaled(cairo_t* cr, const Piece& piece, cairo_surface_t* source) {
  cairo_save(cr);
  cairo_rectangle(cr, piece.frame.x, piece.frame.y, piece.frame.w, piece.frame.h);
  cairo_clip(cr);
  cairo_translate(cr, piece.frame.x, piece.frame.y);
  cairo_scale(cr, piece.frame.w / piece.picture.width(), piece.frame.h / piece.picture.height());
  cairo_set_source_surface(cr, source, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
  cairo_paint(cr);
  cairo_restore(cr);
}

/// The picture and its border as one thing, which lets through what its opacity says.
void paintPiece(TiledSurface& surface, const Piece& piece, const PixelRect& all) {
  const CairoSurface source = asSource(piece.picture);
  surface.draw(all, pixelsAround(piece.frame), [&](cairo_t* cr) {
    if (piece.opacity < 1) cairo_push_group(cr);
    paintScaled(cr, piece, source.get());
    if (piece.border) addBorder(cr, piece);
    if (piece.opacity == 1) return;
    cairo_pop_group_to_source(cr);
    cairo_paint_with_alpha(cr, piece.opacity);
  });
}

void paintBorder(TiledSurface& surface, const Piece& piece, const PixelRect& all) {
  surface.draw(all, pixelsAround(piece.frame), [&](cairo_t* cr) { addBorder(cr, piece); });
}

}  // namespace

LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                           const ReadLayerPicture& readPicture) {
  const CanvasSize canvas = canvasSizeOf(document.canvas, base.size());
  if (!isPossibleSize(canvas.width, canvas.height)) return {};
  return buildLayers(document, base, readPicture, {0, 0, int(canvas.width), int(canvas.height)});
}

LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                           const ReadLayerPicture& readPicture, const PixelRect& part) {
  LayerComposite composite;
  composite.pixelWidth = part.width;
  composite.pixelHeight = part.height;
  std::vector<Piece> pieces = collect(document, base, readPicture, composite);
  // Without layers and room around it the capture is all there is, transparent corners and all.
  const CanvasSize canvas = canvasSizeOf(document.canvas, base.size());
  const bool isCaptureAlone =
      document.layers.empty() && canvas.width == base.width() && canvas.height == base.height();
  const PixelRect inBase = intersection(part, {0, 0, base.width(), base.height()});
  if (isCaptureAlone && inBase == part) {
    composite.image = base.cropped(part);
    return composite;
  }
  MutableImage picture({part.width, part.height}, PixelFormat::bgrx);
  const PixelRect all{0, 0, part.width, part.height};
  TiledSurface surface(picture.row(0).data(), picture.stride(), picture.size());
  for (Piece& piece : pieces) {
    piece.frame.x -= part.x;
    piece.frame.y -= part.y;
  }
  surface.draw(all, all, [&](cairo_t* cr) {
    inkOf(document.canvas.backdropHex).set(cr);
    cairo_paint(cr);
  });
  for (const Piece& piece : pieces) {
    if (piece.isUnscaled() && piece.opacity == 1) {
      copyPixels(picture, piece);
      if (piece.border) paintBorder(surface, piece, all);
    } else {
      paintPiece(surface, piece, all);
    }
  }
  composite.image = std::move(picture).finish();
  return composite;
}

}  // namespace vantorel
