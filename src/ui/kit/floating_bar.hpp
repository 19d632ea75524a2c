#pragma once

#include <QPainter>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

/// What the dark bars over the content of a window share.
namespace vantorel::floating_bar {

inline constexpr int shadow = 12;  ///< px around the panel

inline void paint(QPainter& painter, const QRectF& panel) {
  const FloatingColors& colors = floatingColors();
  for (int i = shadow; i > 0; --i) {
    paintBox(painter, panel.adjusted(-i, -i + 3, i, i), tokens::groupRadius + i, QColor(0, 0, 0, 5),
             Qt::NoPen);
  }
  paintBox(painter, panel, tokens::groupRadius, colors.opaquePanel, QPen(colors.innerLine));
}

}  // namespace vantorel::floating_bar
