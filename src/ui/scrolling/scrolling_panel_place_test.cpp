#include "ui/scrolling/scrolling_panel_place.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

constexpr QRect screenArea(0, 0, 1280, 800);
constexpr QSize withPreview(250, 200);
constexpr QSize alone(250, 52);

ScrollingPanelPlace placed(const std::vector<ScrollingRoom>& rooms, bool isMirrored = false) {
  return placeScrollingPanel(rooms, withPreview, alone, isMirrored);
}

TEST(ScrollingPanelPlaceTest, StandsBesideWhatIsCapturedAndNeverInIt) {
  for (const QRect& area :
       {QRect(100, 50, 900, 500), QRect(0, 0, 1000, 800), QRect(280, 0, 1000, 800),
        QRect(0, 230, 1280, 570), QRect(0, 0, 1280, 720), QRect(0, 80, 1280, 720),
        QRect(1000, 100, 280, 400), QRect(0, 0, 200, 780)}) {
    for (const bool isMirrored : {false, true}) {
      const ScrollingPanelPlace place = placed({{screenArea, area}}, isMirrored);
      EXPECT_FALSE(place.covers);
      EXPECT_FALSE(place.panel.intersects(area)) << area.left() << " " << area.top();
      EXPECT_TRUE(screenArea.contains(place.panel));
      EXPECT_EQ(place.panel.size(), place.hasPreview ? withPreview : alone);
    }
  }
  EXPECT_GT(placed({{screenArea, QRect(100, 50, 900, 500)}}).panel.top(), 549);
  EXPECT_FALSE(placed({{screenArea, QRect(0, 0, 1280, 720)}}).hasPreview);
  const QRect middle(400, 0, 480, 800);
  EXPECT_GT(placed({{screenArea, middle}}).panel.left(), 879);
  EXPECT_LT(placed({{screenArea, middle}}, true).panel.right(), 400);
}

TEST(ScrollingPanelPlaceTest, GoesToAnotherDisplayBeforeItCovers) {
  const ScrollingRoom full{screenArea, screenArea};
  const ScrollingRoom other{{1280, 0, 1000, 600}, {}};
  const ScrollingPanelPlace there = placed({full, other});
  EXPECT_TRUE(other.display.contains(there.panel));
  EXPECT_TRUE(there.hasPreview);
  const ScrollingPanelPlace over = placed({full});
  EXPECT_TRUE(over.covers);
  EXPECT_TRUE(screenArea.contains(over.panel));
  EXPECT_EQ(over.panel.size(), alone);
  EXPECT_GT(over.panel.left(), 900) << "the page begins at the left";
  EXPECT_LT(placed({full}, true).panel.left(), 100);
  // A window whose place is not known.
  EXPECT_FALSE(placed({{screenArea, {}}}).covers);
}

}  // namespace
}  // namespace vantorel
