#include "scrolling/frame_matcher.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "scrolling/frame_joiner.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/testing/generated_page.hpp"

namespace vantorel {
namespace {

/// Unoptimised, and under a sanitizer, a twelfth of the pairs takes as long.
#if defined(VANTOREL_ADDRESS_SANITIZER) || defined(__SANITIZE_THREAD__)
constexpr int share = 12;
#else
constexpr int share = 1;
#endif

template <class Case>
bool is(const FrameMatch& match) {
  return std::holds_alternative<Case>(match.join.value);
}

struct Scene {
  std::string name;
  PageKind kind = PageKind::text;
  GeneratedView view;
  bool isBetweenPixels = false;
  bool isJoined = true;  ///< whenever enough of the page is in both frames
};

/// What every page is looked at for: as it is, dark, and at twice the scale.
std::vector<Scene> scenes() {
  return {
      {.name = "text"},
      {.name = "code", .kind = PageKind::code},
      {.name = "photos", .kind = PageKind::photos},
      {.name = "numbers", .kind = PageKind::numbers},
      {.name = "cards", .kind = PageKind::cards},
      {.name = "sticky", .view = {.header = 60, .footer = 40}},
      {.name = "sticky code", .kind = PageKind::code, .view = {.header = 60, .footer = 40}},
      {.name = "sidebar", .view = {.sidebar = 150}},
      {.name = "narrow sidebar", .kind = PageKind::cards, .view = {.sidebar = 40}},
      {.name = "caret", .kind = PageKind::code, .view = {.hasCaret = true}},
      {.name = "video", .view = {.hasVideo = true}, .isJoined = false},
      {.name = "video and numbers",
       .kind = PageKind::numbers,
       .view = {.hasVideo = true},
       .isJoined = false},
      {.name = "badge", .view = {.hasBadge = true}, .isJoined = false},
      {.name = "scroll bar", .view = {.scrollBar = 14}},
      {.name = "panes", .view = {.secondPane = 250}, .isJoined = false},
      {.name = "same rows", .kind = PageKind::sameRows, .isJoined = false},
      {.name = "blank", .kind = PageKind::blank, .isJoined = false},
      {.name = "between pixels", .isBetweenPixels = true, .isJoined = false},
      {.name = "numbers between pixels",
       .kind = PageKind::numbers,
       .isBetweenPixels = true,
       .isJoined = false},
      {.name = "photos between pixels",
       .kind = PageKind::photos,
       .isBetweenPixels = true,
       .isJoined = false},
  };
}

/// Moves of every kind: small steps, whatever the overlap allows, leaps beyond it, and none.
int randomMove(std::mt19937& random, int furthest) {
  const auto below = [&](int count) {
    return static_cast<int>(random() % static_cast<unsigned>(count));
  };
  switch (random() % 8) {
    case 0:
    case 1:
    case 2: return below(60) - 20;
    case 3:
    case 4:
    case 5: return below(2 * furthest + 1) - furthest;
    case 6: return below(4 * furthest) - 2 * furthest;
    default: return 0;
  }
}

struct Tally {
  int wrong = 0;
  int missed = 0;  ///< in sight, and refused
  int joined = 0;
  int wrongBands = 0;
};

Tally judge(const Scene& scene, bool isDark, int scale, int pairs, unsigned seed) {
  const GeneratedPage page({.kind = scene.kind,
                            .width = 640 * scale,
                            .height = 6000,
                            .scale = scale,
                            .isDark = isDark,
                            .seed = seed});
  GeneratedView view = scene.view;
  view.height = scale == 1 ? 520 : 800;
  view.sidebar *= scale;
  view.scrollBar *= scale;
  view.secondPane *= scale;
  const int furthest = view.height - minimumOverlap(view.height) - view.header - view.footer;
  std::mt19937 random(seed);
  Tally tally;
  for (int i = 0; i < pairs; ++i) {
    const int moved = randomMove(random, furthest);
    const double from = 1200 + static_cast<int>(random() % 2500) +
                        (scene.isBetweenPixels ? random() % 4 * 0.25 : 0);
    const double to = std::floor(from) + moved + (scene.isBetweenPixels ? random() % 4 * 0.25 : 0);
    const int last = random() % 3 == 0 ? 0 : moved + static_cast<int>(random() % 9) - 4;
    const FrameSignature before = makeFrameSignature(view.frame(page, from, 1), scale);
    const FrameSignature now = makeFrameSignature(view.frame(page, to, 2), scale);
    const FrameMatch match = joinFrames(before, now, last, {});
    const double truth = to - from;
    const double allowed = scene.isBetweenPixels ? 0.76 : 0;
    if (const auto* joined = std::get_if<FrameJoin::Joined>(&match.join.value)) {
      ++tally.joined;
      tally.wrong += std::abs(joined->offset - truth) > allowed ? 1 : 0;
      // Blank rows beside a band may count as its own; none of it may be missing.
      tally.wrongBands += joined->bands.footer < (truth > 0 ? view.footer : 0) ||
                                  joined->bands.header < (truth < 0 ? view.header : 0)
                              ? 1
                              : 0;
    } else if (is<FrameJoin::NoMovement>(match)) {
      tally.wrong += std::abs(truth) > allowed && before != now ? 1 : 0;
    } else if (scene.isJoined && std::abs(moved) <= furthest && before != now) {
      ++tally.missed;
    }
  }
  return tally;
}

TEST(FrameMatcher, JoinsWhatIsInSightAndNothingWrongly) {
  int joined = 0;
  unsigned seed = 11;
  for (const Scene& scene : scenes()) {
    for (const bool isDark : {false, true}) {
      for (const int scale : {1, 2}) {
        SCOPED_TRACE(scene.name + (isDark ? ", dark" : "") + (scale == 2 ? ", 2x" : ""));
        const Tally tally = judge(scene, isDark, scale, (scale == 1 ? 40 : 12) / share, ++seed);
        EXPECT_EQ(tally.wrong, 0);
        EXPECT_EQ(tally.missed, 0);
        EXPECT_EQ(tally.wrongBands, 0);
        joined += tally.joined;
      }
    }
  }
  EXPECT_GT(joined, 1000 / share);  // the test would pass if nothing were ever joined
}

class FrameMatcherVerdicts : public testing::Test {
 protected:
  static FrameMatch move(const GeneratedPage::Look& look, const GeneratedView& view, int rows,
                         int predicted) {
    const GeneratedPage page(look);
    return matchFrames(makeFrameSignature(view.frame(page, 1000, 1), look.scale),
                       makeFrameSignature(view.frame(page, 1000 + rows, 2), look.scale), predicted,
                       {});
  }
};

TEST_F(FrameMatcherVerdicts, OneComparisonLooksAroundItsPrediction) {
  const FrameMatch near = move({}, {}, 90, 60);
  ASSERT_TRUE(is<FrameJoin::Joined>(near));
  EXPECT_EQ(std::get<FrameJoin::Joined>(near.join.value).offset, 90);
  EXPECT_TRUE(near.isExact);
  EXPECT_TRUE(is<FrameJoin::ScrolledTooFast>(move({}, {}, 90, 20)));
  EXPECT_TRUE(is<FrameJoin::ScrolledTooFast>(move({}, {}, -90, 60)));
  // 200 rows must remain of 520.
  EXPECT_TRUE(is<FrameJoin::Joined>(move({}, {}, 320, 300)));
  EXPECT_TRUE(is<FrameJoin::ScrolledTooFast>(move({}, {}, 321, 300)));
}

TEST_F(FrameMatcherVerdicts, EachRefusalHasItsCause) {
  EXPECT_TRUE(is<FrameJoin::NoMovement>(move({}, {}, 0, 50)));
  EXPECT_TRUE(is<FrameJoin::NoMovement>(move({}, {.hasCaret = true}, 0, 0)));
  EXPECT_TRUE(is<FrameJoin::NoMovement>(move({}, {.hasVideo = true}, 0, 0)));
  EXPECT_TRUE(is<FrameJoin::Indeterminate>(move({.kind = PageKind::blank}, {}, 0, 0)));
  EXPECT_TRUE(is<FrameJoin::Indeterminate>(move({.kind = PageKind::sameRows}, {}, 30, 30)));
  EXPECT_TRUE(is<FrameJoin::ScrolledTooFast>(move({}, {}, 900, 100)));
  const FrameMatch panes = move({}, {.secondPane = 250}, 40, 40);
  ASSERT_TRUE(is<FrameJoin::MultiplePanes>(panes));
  const auto& two = std::get<FrameJoin::MultiplePanes>(panes.join.value);
  EXPECT_EQ(std::minmax(two.primaryOffset, two.secondaryOffset), std::minmax(40, 80));
  const FrameMatch still = move({}, {.sidebar = 400}, 40, 40);
  ASSERT_TRUE(is<FrameJoin::MultiplePanes>(still));
  EXPECT_EQ(std::get<FrameJoin::MultiplePanes>(still.join.value).secondaryOffset, 0);
  EXPECT_TRUE(is<FrameJoin::Indeterminate>(matchFrames({}, {}, 0, {})));
  const FrameSignature one = makeFrameSignature(GeneratedView{}.frame(GeneratedPage({}), 0, 1), 1);
  EXPECT_TRUE(is<FrameJoin::Indeterminate>(matchFrames(one, {}, 0, {})));
}

TEST_F(FrameMatcherVerdicts, PageThatRepeatsItselfBeyondAFrameIsNotGuessedAt) {
  // Every 610 rows it begins anew: 320 rows down fit as well as 290 up.
  const GeneratedPage page({.kind = PageKind::text});
  const auto frame = [&](int position) {
    MutableImage image({640, 520}, PixelFormat::bgrx);
    for (int y = 0; y < 520; ++y) {
      for (int x = 0; x < 640; ++x) {
        const std::uint32_t pixel = page.at(x, (position + y) % 610);
        std::memcpy(image.row(y).data() + std::ptrdiff_t{4} * x, &pixel, sizeof pixel);
      }
    }
    return makeFrameSignature(std::move(image).finish(), 1);
  };
  for (const int last : {0, 100, -100, 300, -300}) {
    EXPECT_FALSE(is<FrameJoin::Joined>(joinFrames(frame(0), frame(320), last, {}))) << last;
    EXPECT_FALSE(is<FrameJoin::Joined>(joinFrames(frame(0), frame(290), last, {}))) << last;
    const FrameMatch near = joinFrames(frame(0), frame(100), last, {});
    ASSERT_TRUE(is<FrameJoin::Joined>(near)) << last;
    EXPECT_EQ(std::get<FrameJoin::Joined>(near.join.value).offset, 100);
  }
}

TEST_F(FrameMatcherVerdicts, StillSidebarDoesNotHideMovesOfARowOrTwo) {
  const GeneratedPage page({.width = 1280, .height = 6000, .scale = 2, .isDark = true, .seed = 51});
  const GeneratedView view{.height = 800, .sidebar = 300};
  for (const int from : {1300, 2100, 3402}) {
    const FrameSignature before = makeFrameSignature(view.frame(page, from, 1), 2);
    for (const int moved : {-2, -1, 1, 2}) {
      const FrameSignature now = makeFrameSignature(view.frame(page, from + moved, 2), 2);
      const FrameMatch match = matchFrames(before, now, moved, {});
      ASSERT_TRUE(is<FrameJoin::Joined>(match)) << from << " by " << moved;
      EXPECT_EQ(std::get<FrameJoin::Joined>(match.join.value).offset, moved);
    }
  }
}

TEST_F(FrameMatcherVerdicts, SaysWhatItLeftOut) {
  const FrameMatch match =
      move({}, {.height = 640, .header = 60, .footer = 40, .sidebar = 120}, 50, 50);
  ASSERT_TRUE(is<FrameJoin::Joined>(match));
  const StaticBands& bands = std::get<FrameJoin::Joined>(match.join.value).bands;
  EXPECT_GE(bands.header, 60);
  EXPECT_GE(bands.footer, 40);
  EXPECT_EQ(match.contentRows, (RowRange{bands.header, 640 - bands.footer}));
  ASSERT_TRUE(match.mask.leadingPixels.has_value());
  EXPECT_GE(*match.mask.leadingPixels, 100);
  EXPECT_LE(*match.mask.leadingPixels, 120);
  EXPECT_FALSE(match.mask.trailingPixels.has_value());
}

TEST_F(FrameMatcherVerdicts, AreasTooLowForTheOverlapAreNeverJoined) {
  EXPECT_TRUE(is<FrameJoin::ScrolledTooFast>(move({}, {.height = 200}, 5, 0)));
  EXPECT_TRUE(is<FrameJoin::Joined>(move({}, {.height = 208}, 8, 0)));
}

}  // namespace
}  // namespace vantorel
