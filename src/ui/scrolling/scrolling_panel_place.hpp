#pragma once

#include <QRect>
#include <QSize>
#include <optional>
#include <vector>

namespace vantorel {

/// A display, and what of it is captured; both in px on the desktop.
struct ScrollingRoom {
  QRect display;   ///< without the desktop's panels
  QRect captured;  ///< empty when nothing is
};

struct ScrollingPanelPlace {
  QRect panel;
  bool hasPreview = false;  ///< there is room for the growing picture too
  bool covers = false;      ///< part of what is captured lies under it
};

/// Where the panel stands: below the area, else above it or at its sides, for the picture's sake
/// first with and then without it; else on another display; else where it covers least. `rooms` is
/// not empty, the first one that of most of the area. `isMirrored` for writing from the right.
[[nodiscard]] ScrollingPanelPlace placeScrollingPanel(const std::vector<ScrollingRoom>& rooms,
                                                      QSize withPreview, QSize alone,
                                                      bool isMirrored);

}  // namespace vantorel
