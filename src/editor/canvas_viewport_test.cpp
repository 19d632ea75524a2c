#include "editor/canvas_viewport.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace vantorel {
namespace {

TEST(CanvasViewportTest, FitsWithAMarginAndNeverAboveItsSize) {
  CanvasViewport viewport;
  viewport.setView({1000, 700}, 32);
  viewport.setContent({0, 0, 200, 100});
  EXPECT_EQ(viewport.zoom(), 1);
  EXPECT_EQ(viewport.toView(Pt{0, 0}), (Pt{400, 300}));
  viewport.setContent({-20, -20, 1872, 800});
  EXPECT_EQ(viewport.zoom(), 0.5);
  EXPECT_EQ(viewport.toView(Pt{-20, 380}), (Pt{32, 350}));
  viewport.setView({532, 700}, 32);
  EXPECT_EQ(viewport.zoom(), 0.25) << "what was fitted fits again";
  viewport.setContent({0, 0, 2000, 100'000});
  EXPECT_LT(viewport.zoom(), CanvasViewport::least) << "all of it, however long";
}

TEST(CanvasViewportTest, ZoomsInStepsAroundThePointer) {
  CanvasViewport viewport;
  viewport.setView({1001, 701}, 32);
  viewport.setContent({0, 0, 3000, 2000});
  const Pt spot{700, 200};
  const Pt below = viewport.toCanvas(spot);
  for (int i = 0; i < 30; ++i) {
    viewport.zoomIn(spot);
    const Pt now = viewport.toCanvas(spot);
    EXPECT_LE(std::abs(now.x - below.x) * viewport.zoom(), 0.51) << viewport.zoom();
    EXPECT_EQ(viewport.offset(), (Pt{std::round(viewport.offset().x), viewport.offset().y}));
  }
  EXPECT_EQ(viewport.zoom(), CanvasViewport::most);
  for (int i = 0; i < 10; ++i) viewport.zoomOut(spot);
  EXPECT_DOUBLE_EQ(viewport.zoom(), 1) << "the steps meet 100 %";
  for (int i = 0; i < 30; ++i) viewport.zoomOut(spot);
  EXPECT_DOUBLE_EQ(viewport.zoom(), CanvasViewport::least);
}

TEST(CanvasViewportTest, APictureStaysWhereItIsWhenTheCanvasGrowsOrIsCropped) {
  CanvasViewport viewport;
  viewport.setView({1000, 700}, 32);
  viewport.setContent({0, 0, 1600, 1200});
  viewport.setZoom(1, {500, 350});
  const Pt before = viewport.toView(Pt{300, 200});
  viewport.setContent({0, 0, 1700, 1250}, {100, 50});  // grown to the left and above
  EXPECT_EQ(viewport.toView(Pt{400, 250}), before);
  viewport.setContent({350, 220, 800, 600});  // cropped
  EXPECT_EQ(viewport.toView(Pt{400, 250}), before);
}

TEST(CanvasViewportTest, SomethingIsSeenWhateverIsDone) {
  std::mt19937 random(7);
  const auto number = [&](int least, int most) {
    return std::uniform_int_distribution(least, most)(random);
  };
  CanvasViewport viewport;
  for (int i = 0; i < 5000; ++i) {
    const Pt spot{double(number(-50, 2000)), double(number(-50, 1500))};
    switch (number(0, 6)) {
      case 0: viewport.setView({number(1, 2000), number(1, 1500)}, number(0, 64)); break;
      case 1:
        viewport.setContent({double(number(-500, 500)), double(number(-500, 500)),
                             double(number(1, 9000)), double(number(1, 9000))});
        break;
      case 2: viewport.setZoom(number(1, 4000) / 100.0, spot); break;
      case 3: viewport.pan(number(-3000, 3000), number(-3000, 3000)); break;
      case 4: viewport.zoomIn(spot); break;
      case 5: viewport.scrollAtEdge(spot, 0.02); break;
      default: viewport.fit(); break;
    }
    ASSERT_TRUE(std::isfinite(viewport.zoom()) && viewport.zoom() > 0);
    const Pt there = viewport.toCanvas(viewport.toView(Pt{12, 34}));
    ASSERT_NEAR(there.x, 12, 1e-6);
  }
  viewport.setView({1000, 700}, 32);
  viewport.setContent({0, 0, 3000, 2000});
  viewport.setZoom(1, {0, 0});
  viewport.pan(-1e6, 1e6);
  const Box shown = viewport.toView(Box{0, 0, 3000, 2000});
  EXPECT_GT(shown.right(), 30);
  EXPECT_LT(shown.y, 700 - 30);
}

TEST(CanvasViewportTest, ADragAtTheEdgeScrollsToTheEndAndNoFurther) {
  CanvasViewport viewport;
  viewport.setView({1000, 700}, 32);
  viewport.setContent({0, 0, 3000, 500});
  viewport.setZoom(1, viewport.middle());
  EXPECT_FALSE(viewport.scrollAtEdge({500, 350}, 0.1));
  int moves = 0;
  while (viewport.scrollAtEdge({999, 350}, 0.05)) ++moves;
  EXPECT_GT(moves, 10);
  EXPECT_EQ(viewport.toView(Pt{3000, 0}).x, 1000 - 32);
  EXPECT_FALSE(viewport.scrollAtEdge({500, 699}, 0.1)) << "all of its height is seen";
}

}  // namespace
}  // namespace vantorel
