#include "render/text_layout.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr std::size_t maximumBytes = 20'000;
constexpr double largestFont = 2000;

using FontDescription =
    std::unique_ptr<PangoFontDescription, decltype([](PangoFontDescription* font) {
                      pango_font_description_free(font);
                    })>;
using FontOptions =
    std::unique_ptr<cairo_font_options_t, decltype([](cairo_font_options_t* options) {
                      cairo_font_options_destroy(options);
                    })>;

std::string shortened(const std::string& text) {
  std::string kept = text.substr(0, maximumBytes);
  while (kept.size() < text.size() && !kept.empty() && !isUtf8(kept)) kept.pop_back();
  // The text engine ends at a zero byte.
  std::erase(kept, '\0');
  return isUtf8(kept) ? kept : repairedUtf8(kept);
}

Box boxOf(const PangoRectangle& rect) {
  return {double(rect.x) / PANGO_SCALE, double(rect.y) / PANGO_SCALE,
          double(rect.width) / PANGO_SCALE, double(rect.height) / PANGO_SCALE};
}

}  // namespace

TextLayout layoutText(const std::string& text, double fontSize, TextWeight weight) {
  // The default font map is one of the thread's own.
  const std::unique_ptr<PangoContext, GObjectDeleter> context(
      pango_font_map_create_context(pango_cairo_font_map_get_default()));
  // Outlines as designed, whatever the desktop prefers: a picture looks the same everywhere.
  const FontOptions options(cairo_font_options_create());
  cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context.get(), options.get());
  pango_context_set_round_glyph_positions(context.get(), FALSE);

  TextLayout layout(pango_layout_new(context.get()));
  const FontDescription font(pango_font_description_from_string("DejaVu Sans, sans-serif"));
  pango_font_description_set_weight(
      font.get(), weight == TextWeight::bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  const double size = std::isfinite(fontSize) ? std::clamp(fontSize, 1.0, largestFont) : 1;
  pango_font_description_set_absolute_size(font.get(), size * PANGO_SCALE);
  pango_layout_set_font_description(layout.get(), font.get());
  const std::string kept = shortened(text);
  pango_layout_set_text(layout.get(), kept.data(), static_cast<int>(kept.size()));
  return layout;
}

TextLayout layoutOf(const Shape& text) {
  TextLayout layout = layoutText(text.text, text.fontSize, TextWeight::bold);
  if (text.boxWidth && std::isfinite(*text.boxWidth)) {
    pango_layout_set_width(layout.get(),
                           static_cast<int>(std::clamp(*text.boxWidth, 1.0, 1e6) * PANGO_SCALE));
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    // A path or an address that is broken must not gain a character.
    const std::unique_ptr<PangoAttrList, decltype(&pango_attr_list_unref)> attributes(
        pango_attr_list_new(), pango_attr_list_unref);
    pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
    pango_layout_set_attributes(layout.get(), attributes.get());
  }
  switch (text.textAlign.value_or(TextAlign::leading)) {
    case TextAlign::leading: pango_layout_set_alignment(layout.get(), PANGO_ALIGN_LEFT); break;
    case TextAlign::center: pango_layout_set_alignment(layout.get(), PANGO_ALIGN_CENTER); break;
    case TextAlign::trailing: pango_layout_set_alignment(layout.get(), PANGO_ALIGN_RIGHT); break;
  }
  return layout;
}

LayoutExtents extentsOf(PangoLayout* layout) {
  PangoRectangle ink;
  PangoRectangle lines;
  pango_layout_get_extents(layout, &ink, &lines);
  return {boxOf(lines), boxOf(ink)};
}

Box measureText(const Shape& text) {
  const TextLayout layout = layoutOf(text);
  const Box lines = extentsOf(layout.get()).lines;
  return {text.x, text.y, text.boxWidth.value_or(lines.w), lines.h};
}

}  // namespace vantorel
