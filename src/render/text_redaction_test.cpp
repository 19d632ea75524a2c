#include <gtest/gtest.h>

#include <random>

#include "editor/text_selection.hpp"
#include "render/text_layout.hpp"

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
  // Those of signs and of handwriting are on no screen.
  std::erase_if(names, [](const std::string& name) {
    return name.contains("Symbols") || name.contains("D050000L") || name.contains("Emoji") ||
           name == "Z003";
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
