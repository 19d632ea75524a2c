#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "editor/text_selection.hpp"
#include "render/text_layout.hpp"
#include "text/letter_edges.hpp"

namespace vantorel {
namespace {

constexpr double size = 64;

std::vector<std::string> families() {
  PangoFontFamily** list = nullptr;
  int count = 0;
  pango_font_map_list_families(pango_cairo_font_map_get_default(), &list, &count);
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.emplace_back(pango_font_family_get_name(list[i]));
  g_free(list);
  // Those of signs, of handwriting and of formulas ("cmex10") are on no screen.
  std::erase_if(names, [](const std::string& name) {
    return name.contains("Symbols") || name.contains("D050000L") || name.contains("Emoji") ||
           name == "Z003" || name.ends_with("10");
  });
  return names;
}

TextLayout lineIn(const std::string& family, const char* style, const std::string& text) {
  TextLayout layout = layoutText(text, size, TextWeight::regular);
  PangoFontDescription* const font =
      pango_font_description_from_string((family + " " + style).c_str());
  pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
  pango_layout_set_font_description(layout.get(), font);
  pango_font_description_free(font);
  return layout;
}

/// From which column to which the letters between two bytes leave ink, with the line's ink in a
/// box.
std::pair<int, int> inkOf(PangoLayout* layout, const Box& line, guint from, guint to) {
  PangoAttrList* const list = pango_attr_list_new();
  const auto hide = [&](guint first, guint last) {
    PangoAttribute* const unseen = pango_attr_foreground_alpha_new(1);
    unseen->start_index = first;
    unseen->end_index = last;
    pango_attr_list_insert(list, unseen);
  };
  if (from > 0) hide(0, from);
  hide(to, G_MAXUINT);
  pango_layout_set_attributes(layout, list);
  pango_attr_list_unref(list);
  constexpr int margin = 64;
  const int width = static_cast<int>(std::ceil(line.w)) + 2 * margin;
  const int height = static_cast<int>(std::ceil(line.h)) + 2 * margin;
  cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_A8, width, height);
  cairo_t* const cairo = cairo_create(surface);
  cairo_translate(cairo, margin - line.x, margin - line.y);
  pango_cairo_show_layout(cairo, layout);
  cairo_destroy(cairo);
  cairo_surface_flush(surface);
  const unsigned char* const pixels = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  int left = width;
  int right = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (pixels[y * stride + x] < 64) continue;
      left = std::min(left, x);
      right = std::max(right, x + 1);
    }
  }
  cairo_surface_destroy(surface);
  return {left - margin, right - margin};
}

// Where it is known where letters begin, a cover holds all of their ink and little else, also where
// letters reach over their neighbours.
TEST(TextRedactionTest, CoversTheInkOfSelectedLettersWhereTheyWereRead) {
  std::mt19937 random(7);
  const std::vector<std::string> texts{"The fjord of Illinois, jeff@waffle.org",
                                       "password: WAVE/iffy;fj Tf AKIAIOSFODNN7",
                                       "Grösse (12,50 €) = mfW_gy jQj 4111"};
  double covered = 0;
  double needed = 0;
  for (const std::string& family : families()) {
    for (const char* const style : {"", "Bold", "Italic"}) {
      for (const std::string& text : texts) {
        const TextLayout layout = lineIn(family, style, text);
        const Box ink = extentsOf(layout.get()).ink;
        std::vector<std::size_t> starts;
        std::vector<double> edges;
        for (std::size_t i = 0; i < text.size(); ++i) {
          if ((static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U) continue;
          PangoRectangle place;
          pango_layout_index_to_pos(layout.get(), static_cast<int>(i), &place);
          starts.push_back(i);
          edges.push_back(std::max(double(place.x) / PANGO_SCALE - ink.x, 0.0) / ink.h);
        }
        starts.push_back(text.size());
        edges.push_back(ink.w / ink.h);
        const auto part = [](double value) { return static_cast<float>(value / 4096); };
        const OCRLine line{
            text, {part(0), part(100), part(ink.w), part(ink.h), {}}, 1, {}, encodedLetters(edges)};
        const std::size_t first = random() % (starts.size() - 6);
        const std::size_t last = first + 1 + random() % 5;
        TextSelection selection({{{line}, {}}}, {4096, 4096});
        selection.begin({edges[first] * ink.h, 110}, TextSelection::Unit::letter);
        selection.extendTo({edges[last] * ink.h, 110});
        const std::string wanted = text.substr(starts[first], starts[last] - starts[first]);
        if (wanted.find_first_not_of(' ') == std::string::npos) continue;
        ASSERT_EQ(selection.text(false), wanted) << family << " " << style;
        const Box cover = selection.coveringBoxes().at(0);
        const auto [left, right] = inkOf(layout.get(), ink, static_cast<guint>(starts[first]),
                                         static_cast<guint>(starts[last]));
        ASSERT_LE(cover.x, left) << family << " " << style << ": " << wanted;
        ASSERT_GE(cover.right(), right) << family << " " << style << ": " << wanted;
        covered += cover.w;
        needed += right - left;
      }
    }
  }
  RecordProperty("covered for needed", std::to_string(covered / needed));
  EXPECT_LT(covered, 2 * needed) << "of a few letters; half of one at each end is spare";
}

// What is selected and redacted is covered in every font there is, wherever it stands in its line.
TEST(TextRedactionTest, CoversTheSelectedLettersInAnyFont) {
  std::mt19937 random(5);
  const auto below = [&](std::size_t count) { return random() % count; };
  const std::vector<std::string> words{
      "iiillll", "WWMM", "Illinois",  "password:", "mississippi", "GRÖSSE",     "hunter2",
      "a",       "1111", "0.5%",      "fjord",     "MAXIMUM",     "token",      "=",
      "(it)",    "sun",  "jens@a.de", "Willi",     "rwm",         "under_score"};
  double covered = 0;
  double needed = 0;
  int lines = 0;
  for (const std::string& family : families()) {
    for (const char* const style : {"", "Bold", "Italic"}) {
      for (int round = 0; round < 40; ++round, ++lines) {
        std::vector<std::size_t> starts;
        std::string text;
        for (std::size_t count = 2 + below(14); count > 0; --count) {
          if (!text.empty()) text += ' ';
          starts.push_back(text.size());
          text += words[below(words.size())];
        }
        const TextLayout layout = lineIn(family, style, text);
        const Box ink = extentsOf(layout.get()).ink;
        const std::size_t word = below(starts.size());
        const std::size_t end = word + 1 < starts.size() ? starts[word + 1] - 1 : text.size();
        PangoRectangle first;
        PangoRectangle last;
        pango_layout_index_to_pos(layout.get(), int(starts[word]), &first);
        pango_layout_index_to_pos(layout.get(), int(end), &last);
        const double left = std::max(double(first.x) / PANGO_SCALE, ink.x);
        const double right = end == text.size() ? ink.right() : double(last.x) / PANGO_SCALE;

        const auto part = [](double value) { return static_cast<float>(value / 4096); };
        const OCRBox box{part(ink.x), part(ink.y), part(ink.w), part(ink.h), {}};
        TextSelection selection({{{{text, box, 1, {}}}, {}}}, {4096, 4096});
        // By letters, so that it is the word whatever is taken to stand where.
        const auto lettersBefore = [&](std::size_t at) {
          return double(std::ranges::count_if(text.substr(0, at), [](char c) {
            return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
          }));
        };
        const double each = ink.w / lettersBefore(text.size());
        selection.begin({ink.x + each * lettersBefore(starts[word]), ink.y + 5},
                        TextSelection::Unit::letter);
        selection.extendTo({ink.x + each * lettersBefore(end), ink.y + 5});
        ASSERT_EQ(selection.text(false), text.substr(starts[word], end - starts[word]));
        const Box cover = selection.coveringBoxes().at(0);
        ASSERT_LE(cover.x, left) << family << " " << style << ": " << text << ", word " << word;
        ASSERT_GE(cover.right(), right)
            << family << " " << style << ": " << text << ", word " << word;
        covered += std::min(cover.right(), ink.right()) - std::max(cover.x, ink.x);
        needed += right - left;
      }
    }
  }
  EXPECT_GT(lines, 200);
  RecordProperty("covered for needed", std::to_string(covered / needed));
  EXPECT_LT(covered, 3 * needed);
}

}  // namespace
}  // namespace vantorel
