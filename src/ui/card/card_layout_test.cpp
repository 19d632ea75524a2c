#include "ui/card/card_layout.hpp"

#include <gtest/gtest.h>

namespace vantorel::card_layout {
namespace {

TEST(CardLayoutTest, CardsAreAsHighAsTheirPictures) {
  EXPECT_EQ(cardHeight({3840, 2160}), 158);
  EXPECT_EQ(cardHeight({4000, 40}), leastHeight);
  EXPECT_EQ(cardHeight({40, 4000}), mostHeight);
  EXPECT_TRUE(fills({3840, 2160}));
  EXPECT_TRUE(fills({280, 175}));
  EXPECT_FALSE(fills({4000, 40}));
  EXPECT_FALSE(fills({40, 20}));
  EXPECT_FALSE(fills({40, 4000}));
}

TEST(CardLayoutTest, TheNewestIsLowestAndOlderOnesMakeRoom) {
  const QRect area(0, 30, 1280, 770);
  Arrangement placed = arranged({175, 100}, area, false, 90);
  ASSERT_EQ(placed.cards.size(), 2);
  EXPECT_EQ(placed.cards[0], QRect(984, 800 - 16 - 175, 280, 175));
  EXPECT_EQ(placed.cards[1].bottom() + 1 + gap, placed.cards[0].top());
  EXPECT_EQ(placed.more, 0);
  placed = arranged({175, 175, 175, 175, 88}, area, true, 90);
  ASSERT_EQ(placed.cards.size(), 2) << "three are higher than 70 % of it";
  EXPECT_EQ(placed.cards[0].left(), 16);
  EXPECT_EQ(placed.more, 3);
  EXPECT_EQ(placed.capsule.bottom() + 1 + gap, placed.cards[1].top());
  EXPECT_EQ(arranged({88, 88, 88, 88}, area, true, 90).cards.size(), 3);
  placed = arranged({175, 88}, {0, 0, 800, 480}, false, 90);
  EXPECT_EQ(placed.cards.size(), 1);
  EXPECT_EQ(placed.more, 1);
  EXPECT_EQ(arranged({175}, {0, 0, 300, 100}, false, 90).cards.size(), 1) << "always one";
  EXPECT_EQ(arranged({}, area, false, 90).more, 0);
}

TEST(CardLayoutTest, TheDrawerStandsTowardTheMiddleAndOnTheScreen) {
  const QRect area(0, 0, 1280, 800);
  EXPECT_EQ(besideCard({984, 609, 280, 175}, {256, 174}, area, false), QRect(720, 610, 256, 174));
  EXPECT_EQ(besideCard({16, 609, 280, 175}, {256, 174}, area, true).left(), 304);
  EXPECT_EQ(besideCard({16, 40, 280, 88}, {256, 174}, area, true).top(), 0);
}

TEST(CardLayoutTest, AFlickIsFastAndStraightTowardTheEdge) {
  using enum Gesture;
  EXPECT_EQ(gestureOf({7, 0}, {2000, 0}, false), none);
  EXPECT_EQ(gestureOf({20, 3}, {700, 100}, false), flick);
  EXPECT_EQ(gestureOf({20, 3}, {700, 100}, true), drag) << "away from the edge";
  EXPECT_EQ(gestureOf({-20, 3}, {-700, 100}, true), flick);
  EXPECT_EQ(gestureOf({20, 3}, {500, 0}, false), drag) << "too slow";
  EXPECT_EQ(gestureOf({20, 20}, {700, 700}, false), drag) << "too steep";
}

}  // namespace
}  // namespace vantorel::card_layout
