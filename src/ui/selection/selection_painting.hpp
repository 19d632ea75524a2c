#pragma once

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QRect>
#include <QRegion>
#include <QString>
#include <vector>

#include "ui/selection/loupe.hpp"
#include "ui/selection/selection_bar.hpp"
#include "ui/selection/selection_model.hpp"

namespace vantorel {

/// One key of the line at the bottom and what it does.
struct SelectionHint {
  QString key;
  QString effect;
  QRect keyBox;
  QRect effectBox;
};

/// Where everything stands that is drawn over the frozen screen, in device pixels on the desktop.
/// Empty rectangles are not drawn.
struct SelectionLayout {
  QRect chosen;         ///< shown as it is, while all around it is dimmed
  bool isPick = false;  ///< `chosen` is a window or display under the pointer, not a drag
  QRect display{};      ///< that `chosen` is on
  QRect hairlineAcross;
  QRect hairlineDown;
  std::vector<QRect> handles;
  QRect focusedHandle;
  QPoint detail;  ///< the pixel in the middle of the loupe
  QRect loupe;    ///< the pixels about it, enlarged
  QRect caption;  ///< below the loupe, or in the middle of a window
  QString captionText;
  SelectionBar bar;
  QRect hintLine;
  std::vector<SelectionHint> hints;
  double scale = 1;  ///< pixels per point where the pointer is

  /// What must be painted again when `before` gives way to this.
  [[nodiscard]] QRegion changeFrom(const SelectionLayout& before) const;
};

/// What is shown besides the selection itself.
struct SelectionStatus {
  QString color;  ///< of the pixel in the loupe, in words
  std::optional<SelectionBar::Part> hovered;
};

[[nodiscard]] SelectionLayout layOutSelection(const SelectionModel& model,
                                              const SelectionStatus& status);

/// A display's frozen picture at its place on the desktop.
struct FrozenPicture {
  QRect area;
  QImage image;
};

/// Paints `dirty` of the overlay. The painter's unit is the device pixel, its origin the desktop's.
void paintSelection(QPainter& painter, const QRegion& dirty,
                    const std::vector<FrozenPicture>& pictures, const SelectionLayout& layout);

}  // namespace vantorel
