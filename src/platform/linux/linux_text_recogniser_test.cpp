#include "platform/linux/linux_text_recogniser.hpp"

#include <pango/pangocairo.h>

#define ZX_USE_UTF8 1
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <thread>

#include "platform/files.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A picture with text on it, drawn as programs draw theirs.
class DrawnPage {
 public:
  DrawnPage(int width, int height, unsigned ground = 0xffffff)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
        context_(cairo_create(surface_)) {
    fill({0, 0, width, height}, ground);
  }
  ~DrawnPage() {
    cairo_destroy(context_);
    cairo_surface_destroy(surface_);
  }
  DrawnPage(const DrawnPage&) = delete;
  DrawnPage& operator=(const DrawnPage&) = delete;

  void fill(const PixelRect& rect, unsigned color) {
    use(color);
    cairo_rectangle(context_, rect.x, rect.y, rect.width, rect.height);
    cairo_fill(context_);
  }

  /// Answers where the ink of each letter lies that has any.
  std::vector<PixelRect> write(int x, int y, const std::string& text, const std::string& font,
                               int size, unsigned color) {
    PangoLayout* const layout = pango_cairo_create_layout(context_);
    PangoFontDescription* const description = pango_font_description_from_string(font.c_str());
    pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
    pango_layout_set_font_description(layout, description);
    pango_layout_set_text(layout, text.c_str(), -1);
    use(color);
    cairo_move_to(context_, x, y);
    pango_cairo_show_layout(context_, layout);
    std::vector<PixelRect> letters;
    PangoLayoutIter* const iter = pango_layout_get_iter(layout);
    do {
      PangoRectangle ink{};
      pango_layout_iter_get_cluster_extents(iter, &ink, nullptr);
      if (ink.width == 0) continue;
      const int left = x + ink.x / PANGO_SCALE;
      const int top = y + ink.y / PANGO_SCALE;
      letters.push_back({left, top, PANGO_PIXELS_CEIL(ink.x + ink.width) + x - left,
                         PANGO_PIXELS_CEIL(ink.y + ink.height) + y - top});
    } while (pango_layout_iter_next_cluster(iter) != FALSE);
    pango_layout_iter_free(iter);
    pango_font_description_free(description);
    g_object_unref(layout);
    return letters;
  }

  void drawCode(int x, int y, ZXing::BarcodeFormat format, const std::wstring& payload, int width,
                int height, unsigned color,
                ZXing::CharacterSet encoding = ZXing::CharacterSet::UTF8) {
    const auto code = ZXing::MultiFormatWriter(format).setMargin(0).setEncoding(encoding).encode(
        payload, width, height);
    for (int row = 0; row < code.height(); ++row) {
      for (int column = 0; column < code.width(); ++column) {
        if (code.get(column, row)) fill({x + column, y + row, 1, 1}, color);
      }
    }
  }

  [[nodiscard]] Image picture() const {
    cairo_surface_flush(surface_);
    const PixelSize size{cairo_image_surface_get_width(surface_),
                         cairo_image_surface_get_height(surface_)};
    MutableImage image(size, PixelFormat::bgrx);
    for (int y = 0; y < size.height; ++y) {
      const auto row = image.row(y);
      std::memcpy(row.data(),
                  cairo_image_surface_get_data(surface_) +
                      static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface_),
                  row.size());
    }
    return std::move(image).finish();
  }

 private:
  void use(unsigned color) {
    cairo_set_source_rgb(context_, (color >> 16) / 255.0, (color >> 8 & 255U) / 255.0,
                         (color & 255U) / 255.0);
  }

  cairo_surface_t* surface_;
  cairo_t* context_;
};

class LinuxTextRecogniserTest : public testing::Test {
 protected:
  PictureReading read(const Image& picture, const ReadingRequest& request = {}) {
    auto reading = recogniser_.read(picture, request, {});
    if (reading) return *std::move(reading);
    ADD_FAILURE() << sentence(reading.error());
    return {};
  }

  static std::vector<std::string> linesOf(const PictureReading& reading) {
    std::vector<std::string> lines;
    for (const ReadBlock& block : reading.blocks) {
      for (const ReadLine& line : block.lines) lines.push_back(line.text());
    }
    return lines;
  }

  LinuxTextRecogniser recogniser_;
};

TEST_F(LinuxTextRecogniserTest, ReadsLightAndDarkLargeAndSmallSideBySide) {
  DrawnPage page(1200, 400);
  page.fill({0, 0, 300, 400}, 0x2c2c34);
  page.fill({8, 92, 284, 28}, 0x3584e4);
  page.fill({340, 300, 150, 32}, 0xc01c28);
  page.write(24, 40, "Documents folder", "DejaVu Sans", 13, 0xb8b8c0);
  page.write(24, 98, "Selected album", "DejaVu Sans", 13, 0xffffff);
  page.write(24, 160, "Downloads today", "DejaVu Sans", 11, 0x909098);
  page.write(340, 30, "Quarterly report", "DejaVu Sans Bold", 28, 0x202020);
  page.write(340, 100, "Invoice 4711 was paid on Tuesday by Anna Miller", "DejaVu Sans", 11,
             0x666666);
  page.write(340, 160, "const int total = price * count;", "DejaVu Sans Mono", 14, 0x1a5fb4);
  page.write(356, 308, "Delete all", "DejaVu Sans", 12, 0xffffff);

  const PictureReading reading = read(page.picture());
  EXPECT_THAT(linesOf(reading),
              testing::UnorderedElementsAre("Documents folder", "Selected album", "Downloads today",
                                            "Quarterly report",
                                            "Invoice 4711 was paid on Tuesday by Anna Miller",
                                            "const int total = price * count;", "Delete all"));

  // A part is read as well, and told in pixels of the whole.
  ReadingRequest part;
  part.area = PixelRect{330, 90, 800, 40};
  part.isOneLine = true;
  const PictureReading line = read(page.picture(), part);
  ASSERT_THAT(linesOf(line), ElementsAre("Invoice 4711 was paid on Tuesday by Anna Miller"));
  EXPECT_NEAR(line.blocks[0].lines[0].box.x, 340, 3);
  EXPECT_NEAR(line.blocks[0].lines[0].box.y, 102, 3);
}

TEST_F(LinuxTextRecogniserTest, LettersLieWhereTheirInkIs) {
  struct Case {
    const char* font;
    int size;
    unsigned ground;
    unsigned color;
    int slack;
  };
  // Serifs touch each other.
  for (const Case& each : {Case{"DejaVu Sans", 13, 0xffffff, 0x202020, 2},
                           Case{"DejaVu Sans Mono", 14, 0x1e1e1e, 0xd4d4d4, 2},
                           Case{"DejaVu Serif", 26, 0xffffff, 0x000000, 4}}) {
    DrawnPage page(900, 120, each.ground);
    const std::string text = "Payment by Jonathan Miller, illegal parking 4711";
    const std::vector<PixelRect> drawn = page.write(40, 40, text, each.font, each.size, each.color);
    const PictureReading reading = read(page.picture());
    ASSERT_THAT(linesOf(reading), ElementsAre(text)) << each.font;
    std::vector<PixelRect> boxes;
    for (const ReadWord& word : reading.blocks[0].lines[0].words) {
      for (const ReadLetter& letter : word.letters) boxes.push_back(letter.box);
    }
    ASSERT_EQ(boxes.size(), drawn.size());
    for (std::size_t i = 0; i < boxes.size(); ++i) {
      EXPECT_NEAR(boxes[i].x, drawn[i].x, each.slack) << each.font << ", letter " << i;
      EXPECT_NEAR(boxes[i].right(), drawn[i].right(), each.slack) << each.font << ", letter " << i;
      EXPECT_LE(boxes[i].y, drawn[i].y + 1) << each.font << ", letter " << i;
      EXPECT_GE(boxes[i].bottom(), drawn[i].bottom() - 1) << each.font << ", letter " << i;
    }
  }
}

TEST_F(LinuxTextRecogniserTest, EachLineOfATallPictureIsReadOnce) {
  // Two columns whose lines are never at the same height: no row between two parts is empty.
  DrawnPage page(900, 6'000);
  std::vector<std::string> expected;
  for (int i = 0; 44 * i + 70 < 6'000; ++i) {
    const std::string left = "Left row " + std::to_string(1000 + i);
    const std::string right = "Right row " + std::to_string(5000 + i);
    page.write(40, 20 + 44 * i, left, "DejaVu Sans", 18, 0x202020);
    page.write(520, 42 + 44 * i, right, "DejaVu Sans", 18, 0x202020);
    expected.push_back(left);
    expected.push_back(right);
  }
  EXPECT_THAT(linesOf(read(page.picture())), testing::UnorderedElementsAreArray(expected));
}

TEST_F(LinuxTextRecogniserTest, ReadsCodesOfEitherColorAndOfAnyBytes) {
  using ZXing::BarcodeFormat;
  DrawnPage page(1400, 500);
  page.fill({500, 0, 400, 500}, 0x101010);
  page.drawCode(100, 100, BarcodeFormat::QRCode, L"https://example.org/\u00fc?a=1", 200, 200,
                0x000000);
  page.drawCode(600, 100, BarcodeFormat::QRCode, L"otpauth://totp/x?secret=ABC", 200, 200,
                0xffffff);
  page.drawCode(1000, 100, BarcodeFormat::EAN13, L"4006381333931", 300, 80, 0x000000);
  page.drawCode(1000, 300, BarcodeFormat::QRCode, L"caf\u00e9 \u00ff\u00fe", 150, 150, 0x000000,
                ZXing::CharacterSet::ISO8859_1);
  ReadingRequest request;
  request.readsText = false;
  const PictureReading reading = read(page.picture(), request);
  std::vector<std::string> payloads;
  for (const ReadCode& code : reading.codes) payloads.push_back(code.payload);
  EXPECT_THAT(payloads, testing::UnorderedElementsAre("https://example.org/\u00fc?a=1",
                                                      "otpauth://totp/x?secret=ABC",
                                                      "4006381333931", "caf\u00e9 \u00ff\u00fe"));
  for (const ReadCode& code : reading.codes) {
    EXPECT_EQ(code.symbology, code.payload == "4006381333931" ? "ean13" : "qr");
    if (!code.payload.starts_with("https")) continue;
    EXPECT_NEAR(code.box.x, 100, 12);
    EXPECT_NEAR(code.box.y, 100, 12);
    EXPECT_NEAR(code.box.right(), 300, 12);
  }
  EXPECT_THAT(reading.blocks, IsEmpty());
}

TEST_F(LinuxTextRecogniserTest, WhatHasNoTextGivesNone) {
  for (const PixelSize size : {PixelSize{1, 1}, {3, 700}, {700, 2}, {40, 40}}) {
    DrawnPage page(size.width, size.height, 0x884422);
    EXPECT_THAT(read(page.picture()).blocks, IsEmpty()) << size.width;
  }
  EXPECT_THAT(read(Image()).blocks, IsEmpty());
  // Foliage, as photographs have it.
  std::mt19937 random(3);
  MutableImage noise({400, 300}, PixelFormat::bgrx);
  for (int y = 0; y < 300; ++y) {
    for (std::uint8_t& part : noise.row(y)) part = static_cast<std::uint8_t>(random());
  }
  EXPECT_THAT(linesOf(read(std::move(noise).finish())), IsEmpty());
  // Letters on nothing lie on white.
  DrawnPage page(300, 60, 0xffffff);
  page.write(20, 20, "Behind glass", "DejaVu Sans", 16, 0x000000);
  const Image opaque = page.picture();
  MutableImage glass(opaque.size(), PixelFormat::bgraPremultiplied);
  for (int y = 0; y < opaque.height(); ++y) {
    for (std::size_t i = 3; i < glass.row(y).size(); i += 4) {
      glass.row(y)[i] = static_cast<std::uint8_t>(255 - opaque.row(y)[i - 1]);
    }
  }
  EXPECT_THAT(linesOf(read(std::move(glass).finish())), ElementsAre("Behind glass"));
}

/// In KB, of what stands in memory of the files whose names hold that.
int memoryOf(std::string_view library) {
  std::ifstream maps("/proc/self/smaps");
  bool isIt = false;
  int all = 0;
  for (std::string line; std::getline(maps, line);) {
    if (line.find("-") < line.find(" ")) isIt = line.find(library) != std::string::npos;
    if (isIt && line.starts_with("Rss:")) all += std::stoi(line.substr(4));
  }
  return all;
}

TEST_F(LinuxTextRecogniserTest, AtRestItHoldsNothingOfWhatReads) {
  DrawnPage page(300, 60);
  page.write(20, 20, "Good morning", "DejaVu Sans", 16, 0x000000);
  EXPECT_THAT(linesOf(read(page.picture())), ElementsAre("Good morning"));
  EXPECT_GT(memoryOf("libtesseract"), 1'000);
  recogniser_.release();
  EXPECT_LT(memoryOf("libtesseract") + memoryOf("liblept"), 300);
  EXPECT_THAT(linesOf(read(page.picture())), ElementsAre("Good morning"));
}

TEST_F(LinuxTextRecogniserTest, StopsWhenAsked) {
  DrawnPage page(1900, 1000);
  for (int y = 10; y < 970; y += 24) {
    page.write(20, y, "Nobody waits for what nobody wants any more, and so it stops early on",
               "DejaVu Sans", 15, 0x000000);
  }
  const Image picture = page.picture();
  std::stop_source before;
  before.request_stop();
  const auto never = recogniser_.read(picture, {}, before.get_token());
  ASSERT_FALSE(never);
  EXPECT_EQ(never.error().what, RecognitionFailure::Case::cancelled);

  std::stop_source during;
  std::jthread reader([&] {
    const auto answer = recogniser_.read(picture, {}, during.get_token());
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().what, RecognitionFailure::Case::cancelled);
  });
  during.request_stop();
  reader.join();
  // And reads again afterwards, with what it keeps and without.
  ReadingRequest one;
  one.area = PixelRect{0, 0, 1900, 34};
  EXPECT_EQ(linesOf(read(picture, one)).size(), 1);
  recogniser_.release();
  EXPECT_EQ(linesOf(read(picture, one)).size(), 1);
}

/// Names another folder of languages while it lives.
class LanguagesElsewhere {
 public:
  explicit LanguagesElsewhere(const Path& folder) {
    if (const char* const old = std::getenv(variable)) old_ = old;
    ::setenv(variable, folder.c_str(), 1);
  }
  ~LanguagesElsewhere() {
    if (old_) {
      ::setenv(variable, old_->c_str(), 1);
    } else {
      ::unsetenv(variable);
    }
  }
  LanguagesElsewhere(const LanguagesElsewhere&) = delete;
  LanguagesElsewhere& operator=(const LanguagesElsewhere&) = delete;

 private:
  static constexpr const char* variable = "TESSDATA_PREFIX";
  std::optional<std::string> old_;
};

TEST_F(LinuxTextRecogniserTest, SaysWhichLanguagesThereAre) {
  EXPECT_THAT(recogniser_.languages(), testing::Contains("eng"));
  EXPECT_THAT(recogniser_.languages(), testing::Not(testing::Contains("osd")));
  DrawnPage page(300, 60);
  page.write(20, 20, "Good morning", "DejaVu Sans", 16, 0x000000);
  ReadingRequest request;
  request.languages = {"tlh", "eng"};
  EXPECT_THAT(linesOf(read(page.picture(), request)), ElementsAre("Good morning"));
  request.languages = {"tlh"};
  const auto unknown = recogniser_.read(page.picture(), request, {});
  ASSERT_FALSE(unknown);
  EXPECT_EQ(unknown.error().what, RecognitionFailure::Case::unavailable);

  const Path folder = Path(testing::TempDir()) / "vantorel-languages";
  std::filesystem::create_directories(folder);
  const LanguagesElsewhere elsewhere(folder);
  LinuxTextRecogniser without;
  EXPECT_THAT(without.languages(), IsEmpty());
  const auto none = without.read(page.picture(), {}, {});
  ASSERT_FALSE(none);
  EXPECT_EQ(none.error().what, RecognitionFailure::Case::unavailable);
  // A download that broke off.
  for (const char* const name : {"fra", "deu", "osd"}) {
    std::ofstream(folder / (std::string(name) + ".traineddata")) << "not yet";
  }
  EXPECT_THAT(without.languages(), ElementsAre("deu", "fra"));
  const auto damaged = without.read(page.picture(), {}, {});
  ASSERT_FALSE(damaged);
  EXPECT_EQ(damaged.error().what, RecognitionFailure::Case::unavailable);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vantorel
