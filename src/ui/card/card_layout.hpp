#pragma once

#include <QList>
#include <QRect>
#include <QSize>

namespace vantorel::card_layout {

// Measures in px of the screen.
inline constexpr int width = 280;
inline constexpr int leastHeight = 88;
inline constexpr int mostHeight = 175;
inline constexpr int undoHeight = 44;
inline constexpr int capsuleHeight = 32;
inline constexpr int edge = 16;  ///< from the screen's side and the work area's bottom
inline constexpr int gap = 8;
inline constexpr int slide = 24;
inline constexpr int drawerWidth = 256;

/// How high the card of a picture of that size is.
[[nodiscard]] int cardHeight(const QSize& picture);

/// Whether the picture fills its card; another one is shown whole, with room around it.
[[nodiscard]] bool fills(const QSize& picture);

struct Arrangement {
  QList<QRect> cards;  ///< of those that are shown, newest first and lowest
  int more = 0;        ///< older ones, of which `capsule` tells
  QRect capsule;
};

/// At most three cards within 70 % of the height, and on a low screen one. `capsuleWidth` is what
/// the words of the capsule take.
[[nodiscard]] Arrangement arranged(const QList<int>& heights, const QRect& workArea, bool isLeft,
                                   int capsuleWidth);

/// Beside a card, toward the middle of the screen, kept within the work area.
[[nodiscard]] QRect besideCard(const QRect& card, const QSize& drawer, const QRect& workArea,
                               bool isLeft);

/// Where a pointer was while a button was held: what kind of movement it is so far.
enum class Gesture { none, drag, flick };

/// `moved` is the way from where it was pressed, `velocity` in px a second. Toward the edge the
/// cards are at, within 30 degrees and fast, it throws the card away.
[[nodiscard]] Gesture gestureOf(const QPointF& moved, const QPointF& velocity, bool isLeft);

}  // namespace vantorel::card_layout
