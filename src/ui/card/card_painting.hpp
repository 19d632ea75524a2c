#pragma once

#include <QImage>
#include <QPainter>
#include <QRect>
#include <QString>

#include "app/card_stack.hpp"

namespace vantorel {

// What a card shows, painted within its panel, in px of the painter. Colors are those of floating
// surfaces. The painter writes from left to right; what is placed follows the desktop's direction.

inline constexpr int cardCloseSide = 28;
inline constexpr int cardTickTime = 50;  ///< ms, between pictures of what moves

/// `picture` fills the panel, or stands in its middle, never enlarged.
void paintCardPicture(QPainter& painter, const QRect& panel, const Card& card,
                      const QImage& picture);

/// The card's badge, which leaves room for the button that closes it while there are actions.
void paintCardBadge(QPainter& painter, const QRect& panel, const Card& card, bool hasActions);

/// Why something failed, below.
void paintCardSentence(QPainter& painter, const QRect& panel, const QString& sentence);

/// What stands above the actions.
struct CardLabel {
  QString words;   ///< empty for none
  QString key{};   ///< empty for none
  int center = 0;  ///< of the words, as far as the panel allows
  int bottom = 0;
};

/// The ground of the actions, with the words of the one that the pointer or the keyboard is on.
void paintCardScrim(QPainter& painter, const QRect& panel, const CardLabel& label);

/// The line of work that has gone on for `elapsed` ms.
void paintCardBusy(QPainter& painter, const QRect& panel, qint64 elapsed);

struct CardUndoState {
  bool isPointed = false;    ///< the button
  bool hasKeyboard = false;  ///< the card
  double left = 0;           ///< of the time to undo, from 1 to 0
};

/// The bar that undoes a deletion, and where its button is.
void paintCardUndo(QPainter& painter, const QRect& panel, const Card& card,
                   const CardUndoState& state);
[[nodiscard]] QRect cardUndoButton(const QRect& panel);

/// What its words take in a panel of that width.
[[nodiscard]] int cardUndoHeight(const Card& card, int width);

}  // namespace vantorel
