#include "ui/card/card_layout.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel::card_layout {
namespace {

constexpr double shareOfHeight = 0.7;
constexpr qsizetype mostShown = 3;
constexpr int lowScreen = 500;
constexpr double dragDistance = 8;
constexpr double flickSpeed = 600;
constexpr double flickSlope = 0.5773502691896257;  // of 30 degrees

}  // namespace

int cardHeight(const QSize& picture) {
  if (picture.isEmpty()) return leastHeight;
  return std::clamp(
      static_cast<int>(std::lround(double(width) * picture.height() / picture.width())),
      leastHeight, mostHeight);
}

bool fills(const QSize& picture) {
  if (picture.isEmpty()) return true;
  if (2 * picture.width() < width) return false;  // it would be a blur
  const double height = double(width) * picture.height() / picture.width();
  return height >= leastHeight - 1 && height <= mostHeight + 1;
}

Arrangement arranged(const QList<int>& heights, const QRect& workArea, bool isLeft,
                     int capsuleWidth) {
  Arrangement found;
  const int most = static_cast<int>(workArea.height() * shareOfHeight);
  const qsizetype allowed = workArea.height() < lowScreen ? 1 : mostShown;
  const int x = isLeft ? workArea.left() + edge : workArea.right() + 1 - edge - width;
  int bottom = workArea.bottom() + 1 - edge;
  int used = 0;
  for (const int height : heights) {
    const bool isFirst = found.cards.isEmpty();
    if (found.cards.size() == allowed || (!isFirst && used + gap + height > most)) break;
    found.cards.push_back({x, bottom - height, width, height});
    used += height + (isFirst ? 0 : gap);
    bottom -= height + gap;
  }
  found.more = static_cast<int>(heights.size() - found.cards.size());
  const int capsuleX = isLeft ? x : x + width - capsuleWidth;
  found.capsule = {capsuleX, bottom - capsuleHeight, capsuleWidth, capsuleHeight};
  return found;
}

QRect besideCard(const QRect& card, const QSize& drawer, const QRect& workArea, bool isLeft) {
  const int x = isLeft ? card.right() + 1 + gap : card.left() - gap - drawer.width();
  const int lowest = workArea.bottom() + 1 - edge - drawer.height();
  const int y = std::clamp(card.bottom() + 1 - drawer.height(), workArea.top(),
                           std::max(workArea.top(), lowest));
  return {QPoint(x, y), drawer};
}

Gesture gestureOf(const QPointF& moved, const QPointF& velocity, bool isLeft) {
  if (std::hypot(moved.x(), moved.y()) <= dragDistance) return Gesture::none;
  const double toEdge = isLeft ? -velocity.x() : velocity.x();
  const double wayToEdge = isLeft ? -moved.x() : moved.x();
  const bool isStraight = std::abs(velocity.y()) <= toEdge * flickSlope &&
                          std::abs(moved.y()) <= wayToEdge * flickSlope;
  return isStraight && toEdge >= flickSpeed ? Gesture::flick : Gesture::drag;
}

}  // namespace vantorel::card_layout
