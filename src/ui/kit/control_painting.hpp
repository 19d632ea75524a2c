#pragma once

#include <QStyle>
#include <QStyleOption>

class QPainter;
class QWidget;

namespace vantorel {

// What the parts of controls look like, in the roles of the option's palette. Each fills the
// option's area.

/// `widget`, where there is one, knows how far its hover has come; likewise below.
void paintButton(QPainter& painter, const QStyleOption& option, bool isDefault,
                 const QWidget* widget);
void paintField(QPainter& painter, const QStyleOption& option);
void paintToolButton(QPainter& painter, const QStyleOption& option, const QWidget* widget);

/// So much of the text's color over it, 0 to 1.
void paintVeil(QPainter& painter, const QStyleOption& option, double part);

/// How much of its hover is shown, from 0 to 1: none of what is off.
[[nodiscard]] double hoverOf(const QStyleOption& option, const QWidget* widget);

/// A check, or the round one of a choice.
void paintIndicator(QPainter& painter, const QStyleOption& option, bool isRound);

inline constexpr int sliderHandle = 16;  ///< its diameter
void paintSlider(QPainter& painter, const QStyleOptionSlider& option);

/// Nothing where all is in view.
void paintScrollBar(QPainter& painter, const QStyleOptionSlider& option, const QRect& handle);

void paintProgress(QPainter& painter, const QStyleOptionProgressBar& option);

/// A small angle that points down, or up.
void paintChevron(QPainter& painter, const QPointF& center, const QColor& color, bool isUp);

[[nodiscard]] bool hasState(const QStyleOption& option, QStyle::StateFlag state);

/// Saves the painter, which is faint from then on for what is off.
void beginPart(QPainter& painter, const QStyleOption& option);

}  // namespace vantorel
