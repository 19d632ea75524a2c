#include "scrolling/scrolling_canvas.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "scrolling/testing/generated_page.hpp"

namespace vantorel {
namespace {

constexpr ScrollFrameScale oneToOne{};

struct ScrolledPage {
  GeneratedPage page;
  GeneratedView view;
  ScrollingCanvas canvas;
  int frames = 0;

  ScrollingSight show(double position) {
    const Image image = view.frame(page, position, ++frames);
    return canvas.add({.image = image, .displayTime = frames * 0.016}, oneToOne).sight;
  }

  void scroll(double from, double to, double step) {
    for (double at = from; step > 0 ? at < to : at > to; at += step) (void)show(at);
    (void)show(to);
  }
};

std::uint32_t pixel(const Image& image, int x, int y) {
  std::uint32_t value = 0;
  std::memcpy(&value, image.row(y).data() + std::ptrdiff_t{4} * x, sizeof value);
  return value & 0xffffffU;
}

/// Rows of `image` from `first` on that differ from the page's from `position` on, columns
/// [left, right).
int wrongRows(const Image& image, int first, const GeneratedPage& page, int position, int rows,
              int left = 0, int right = 0) {
  int wrong = 0;
  for (int y = 0; y < rows; ++y) {
    for (int x = left; x < page.width() - right; ++x) {
      if (pixel(image, x, first + y) == page.at(x, position + y)) continue;
      ++wrong;
      break;
    }
  }
  return wrong;
}

TEST(ScrollingCanvas, PageIsOnePictureHoweverItIsScrolled) {
  for (const PageKind kind :
       {PageKind::text, PageKind::code, PageKind::photos, PageKind::numbers, PageKind::cards}) {
    SCOPED_TRACE(static_cast<int>(kind));
    ScrolledPage session{
        .page = GeneratedPage({.kind = kind}), .view = {}, .canvas = ScrollingCanvas()};
    session.scroll(1000, 1600, 37);
    session.scroll(1600, 1350, -61);  // back, and up beyond the beginning
    session.scroll(1350, 700, -120);
    session.scroll(700, 2200, 290);  // in leaps
    EXPECT_EQ(session.show(2200), ScrollingSight::waiting);
    EXPECT_EQ(session.canvas.size(), (PixelSize{640, 2020}));
    const Image tall = session.canvas.finish();
    ASSERT_EQ(tall.size(), (PixelSize{640, 2020}));
    EXPECT_EQ(wrongRows(tall, 0, session.page, 700, 2020), 0);
    EXPECT_EQ(session.canvas.size(), PixelSize{});
  }
}

TEST(ScrollingCanvas, WhatSticksToTheEdgesIsInItOnce) {
  ScrolledPage session{.page = GeneratedPage({.kind = PageKind::text}),
                       .view = {.height = 640, .header = 60, .footer = 50},
                       .canvas = ScrollingCanvas()};
  const Image first = session.view.frame(session.page, 1000, 1);
  session.scroll(1000, 2000, 45);
  session.scroll(2000, 800, -70);
  session.scroll(800, 2600, 110);
  const Image tall = session.canvas.finish();
  ASSERT_EQ(tall.height(), 1800 + 640);
  EXPECT_EQ(wrongRows(tall, 60, session.page, 860, 1800 + 640 - 110), 0);
  for (int y = 0; y < 60; ++y) {
    ASSERT_TRUE(std::ranges::equal(tall.row(y), first.row(y))) << "header " << y;
  }
  for (int y = 0; y < 50; ++y) {
    ASSERT_TRUE(std::ranges::equal(tall.row(tall.height() - 1 - y), first.row(639 - y)))
        << "footer " << y;
  }
}

TEST(ScrollingCanvas, SideThatStaysStillIsNotRepeated) {
  ScrolledPage session{.page = GeneratedPage({.kind = PageKind::text}),
                       .view = {.sidebar = 150, .scrollBar = 12},
                       .canvas = ScrollingCanvas()};
  const Image first = session.view.frame(session.page, 1000, 1);
  session.scroll(1000, 2500, 80);
  const Image tall = session.canvas.finish();
  ASSERT_EQ(tall.height(), 1500 + 520);
  EXPECT_EQ(wrongRows(tall, 0, session.page, 1000, 2020, 150, 12), 0);
  for (int y = 0; y < 520; ++y) {
    ASSERT_TRUE(std::ranges::equal(tall.row(y).first(std::size_t{150} * 4),
                                   first.row(y).first(std::size_t{150} * 4)));
  }
  for (int y = 520; y < tall.height(); ++y) {
    for (int x = 0; x < 130; ++x) ASSERT_EQ(pixel(tall, x, y), 0x303338U) << x << ' ' << y;
    // Of the scroll bar its plain track.
    for (int x = 628; x < 640; ++x) ASSERT_EQ(pixel(tall, x, y), 0xe8e8e8U) << x << ' ' << y;
  }
}

TEST(ScrollingCanvas, BarsAndSidesTogetherAreKeptWhole) {
  const GeneratedView view{
      .height = 640, .header = 56, .footer = 40, .sidebar = 150, .scrollBar = 14};
  for (const double step : {15.0, 48.0, 130.0}) {
    SCOPED_TRACE(step);
    ScrolledPage session{
        .page = GeneratedPage({.kind = PageKind::text}), .view = view, .canvas = ScrollingCanvas()};
    const Image first = session.view.frame(session.page, 1000, 1);
    session.scroll(1000, 2200, step);
    session.scroll(2200, 900, -step);
    const Image last = session.view.frame(session.page, 2200, 1);
    const Image tall = session.canvas.finish();
    ASSERT_EQ(tall.height(), 1300 + 640);
    EXPECT_EQ(wrongRows(tall, 56, session.page, 956, tall.height() - 96, 150, 14), 0);
    for (int y = 0; y < 40; ++y) {
      ASSERT_TRUE(std::ranges::equal(tall.row(tall.height() - 1 - y).first(std::size_t{626} * 4),
                                     last.row(639 - y).first(std::size_t{626} * 4)))
          << "footer " << y;
    }
    for (int y = 0; y < 56; ++y) {
      ASSERT_TRUE(std::ranges::equal(tall.row(y).first(std::size_t{626} * 4),
                                     first.row(y).first(std::size_t{626} * 4)))
          << "header " << y;
    }
  }
}

TEST(ScrollingCanvas, WhatOpensAboveThePageLeavesNoStripes) {
  const GeneratedPage page({.kind = PageKind::text});
  const GeneratedView view;
  ScrollingCanvas canvas;
  for (int i = 0; i < 12; ++i) {
    const Image whole = view.frame(page, 1000 + 40 * i, i);
    MutableImage covered(whole.size(), whole.format());
    for (int y = 0; y < 520; ++y) {
      std::ranges::copy(whole.row(y), covered.row(y).begin());
      if (i < 4 || i > 7 || y < 60 || y >= 280) continue;
      std::ranges::fill(covered.row(y).subspan(400, 1200), std::uint8_t{0x7f});
    }
    (void)canvas.add({.image = std::move(covered).finish(), .displayTime = i * 0.1}, oneToOne);
  }
  const Image tall = canvas.finish();
  ASSERT_EQ(tall.height(), 960);
  EXPECT_EQ(wrongRows(tall, 0, page, 1000, 960), 0);
}

TEST(ScrollingCanvas, CaretsFilmsAndScrollBarsDoNotMisleadIt) {
  for (const GeneratedView& view :
       {GeneratedView{.hasCaret = true}, GeneratedView{.hasVideo = true},
        GeneratedView{.scrollBar = 14}}) {
    ScrolledPage session{
        .page = GeneratedPage({.kind = PageKind::text}), .view = view, .canvas = ScrollingCanvas()};
    session.scroll(500, 2500, 33);
    EXPECT_EQ(session.canvas.size().height, 2520);
  }
}

TEST(ScrollingCanvas, WhatFloatsOrCameLateIsPutRight) {
  const GeneratedPage page({.kind = PageKind::text, .height = 6000});
  // A button above the page: it is left where the last frame shows it.
  ScrolledPage floating{.page = page, .view = {.hasBadge = true}, .canvas = ScrollingCanvas()};
  floating.scroll(500, 2500, 33);
  const Image tall = floating.canvas.finish();
  ASSERT_EQ(tall.height(), 2520);
  EXPECT_EQ(wrongRows(tall, 0, page, 500, 2520 - 60), 0);

  // Rows at the lower edge that a browser draws a frame later.
  ScrolledPage late{.page = page, .view = {}, .canvas = ScrollingCanvas()};
  for (int i = 0; i < 20; ++i) {
    const Image whole = late.view.frame(page, 500 + 250 * i, i);
    MutableImage partly(whole.size(), whole.format());
    for (int y = 0; y < 520; ++y) {
      std::ranges::copy(whole.row(y), partly.row(y).begin());
      if (i % 2 == 1 && y >= 470) std::ranges::fill(partly.row(y), 0xffU);
    }
    (void)late.canvas.add({.image = std::move(partly).finish(), .displayTime = i * 0.1}, oneToOne);
  }
  (void)late.show(500 + 250 * 19);
  const Image painted = late.canvas.finish();
  ASSERT_EQ(painted.height(), 250 * 19 + 520);
  EXPECT_EQ(wrongRows(painted, 0, page, 500, painted.height()), 0);
}

TEST(ScrollingCanvas, GoesOnWhereItWasAfterTooFastALeap) {
  ScrolledPage session{
      .page = GeneratedPage({.kind = PageKind::text}), .view = {}, .canvas = ScrollingCanvas()};
  session.scroll(1000, 1400, 40);
  EXPECT_EQ(session.show(2300), ScrollingSight::tooFast);
  EXPECT_EQ(session.show(2350), ScrollingSight::tooFast);
  EXPECT_EQ(session.canvas.size().height, 920);
  EXPECT_EQ(session.show(1600), ScrollingSight::joined);
  session.scroll(1600, 2400, 100);
  const Image tall = session.canvas.finish();
  ASSERT_EQ(tall.height(), 1400 + 520);
  EXPECT_EQ(wrongRows(tall, 0, session.page, 1000, 1920), 0);
}

TEST(ScrollingCanvas, ComesBackToAnyPlaceItHas) {
  ScrolledPage session{
      .page = GeneratedPage({.kind = PageKind::text}), .view = {}, .canvas = ScrollingCanvas()};
  session.scroll(1000, 3000, 90);
  EXPECT_EQ(session.show(1210), ScrollingSight::joined);  // far above, in one leap
  session.scroll(1210, 800, -50);
  const Image tall = session.canvas.finish();
  ASSERT_EQ(tall.height(), 2200 + 520);
  EXPECT_EQ(wrongRows(tall, 0, session.page, 800, 2720), 0);
}

TEST(ScrollingCanvas, FramesBetweenPixelsLeaveNoBlur) {
  for (const PageKind kind : {PageKind::text, PageKind::numbers}) {
    SCOPED_TRACE(static_cast<int>(kind));
    ScrolledPage session{
        .page = GeneratedPage({.kind = kind}), .view = {}, .canvas = ScrollingCanvas()};
    int at = 1000;
    (void)session.show(at);
    for (int notch = 0; notch < 14; ++notch) {
      // Fast, then slower, as an animation ends.
      for (const double part : {0.31, 0.62, 0.83, 0.94, 0.98}) (void)session.show(at + 120 * part);
      at += 120;
      (void)session.show(at);
    }
    const Image tall = session.canvas.finish();
    ASSERT_EQ(tall.height(), 14 * 120 + 520);
    EXPECT_EQ(wrongRows(tall, 0, session.page, 1000, 14 * 120 + 520), 0);
  }
}

TEST(ScrollingCanvas, BeginsWhenThePageIsThere) {
  ScrolledPage session{
      .page = GeneratedPage({.kind = PageKind::text}), .view = {}, .canvas = ScrollingCanvas()};
  const GeneratedPage blank({.kind = PageKind::blank});
  (void)session.canvas.add({.image = session.view.frame(blank, 0, 1)}, oneToOne);
  EXPECT_EQ(session.show(1000), ScrollingSight::waiting);
  session.scroll(1000, 1500, 50);
  const Image tall = session.canvas.finish();
  ASSERT_EQ(tall.height(), 1020);
  EXPECT_EQ(wrongRows(tall, 0, session.page, 1000, 1020), 0);
}

TEST(ScrollingCanvas, RefusesWhatItCannotFollow) {
  const auto sightOfMove = [](GeneratedPage::Look look, GeneratedView view, int rows) {
    ScrolledPage session{.page = GeneratedPage(look), .view = view, .canvas = ScrollingCanvas()};
    (void)session.show(1000);
    return session.show(1000 + rows);
  };
  EXPECT_EQ(sightOfMove({.kind = PageKind::sameRows}, {}, 37), ScrollingSight::nothing);
  EXPECT_EQ(sightOfMove({.kind = PageKind::blank}, {.header = 60, .footer = 60}, 37),
            ScrollingSight::waiting);
  EXPECT_EQ(sightOfMove({}, {.secondPane = 250}, 37), ScrollingSight::panes);
  EXPECT_EQ(sightOfMove({}, {.sidebar = 400}, 37), ScrollingSight::panes);
  EXPECT_EQ(sightOfMove({}, {}, 900), ScrollingSight::tooFast);
}

TEST(ScrollingCanvas, EndsAtAnotherScaleAndStopsAtItsLimit) {
  ScrolledPage session{
      .page = GeneratedPage({}), .view = {}, .canvas = ScrollingCanvas(640 * 1000)};
  session.scroll(1000, 1480, 80);
  EXPECT_EQ(session.show(1481), ScrollingSight::full);
  EXPECT_EQ(session.canvas.size().height, 1000);
  EXPECT_EQ(session.show(1440), ScrollingSight::joined);  // what it has is followed still
  const Image frame = session.view.frame(session.page, 1440, 1);
  EXPECT_EQ(session.canvas.add({.image = frame}, {.display = 2}).sight,
            ScrollingSight::scaleChanged);
  EXPECT_EQ(session.canvas.add({.image = frame}, oneToOne).sight, ScrollingSight::scaleChanged);
  EXPECT_EQ(session.canvas.finish().height(), 1000);

  ScrollingCanvas empty;
  EXPECT_EQ(empty.add({}, oneToOne).sight, ScrollingSight::scaleChanged);
  EXPECT_TRUE(empty.finish().isEmpty());
}

TEST(ScrollingCanvas, PreviewShowsTheNewestEnd) {
  ScrolledPage session{.page = GeneratedPage({}), .view = {}, .canvas = ScrollingCanvas()};
  EXPECT_TRUE(session.canvas.preview({100, 200}, 80).isEmpty());
  session.scroll(1000, 3000, 100);
  const Image whole = session.canvas.preview({320, 2000}, 10);
  EXPECT_EQ(whole.size(), (PixelSize{320, 1260}));
  const Image newest = session.canvas.preview({160, 200}, 160);
  EXPECT_EQ(newest.size(), (PixelSize{160, 200}));
  // 200 rows at a quarter: its last ones.
  const Image expected =
      ScrolledPage{.page = GeneratedPage({}), .view = {.height = 800}, .canvas = ScrollingCanvas()}
          .view.frame(session.page, 2720, 1);
  ScrollingCanvas alone;
  (void)alone.add({.image = expected}, oneToOne);
  const Image same = alone.preview({160, 200}, 160);
  for (int y = 0; y < 200; ++y) ASSERT_TRUE(std::ranges::equal(newest.row(y), same.row(y))) << y;
}

}  // namespace
}  // namespace vantorel
