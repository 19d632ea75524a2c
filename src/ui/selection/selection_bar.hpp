#pragma once

#include <QPainter>
#include <QPoint>
#include <QRect>
#include <QString>
#include <optional>
#include <vector>

#include "ui/selection/selection_model.hpp"

namespace vantorel {

/// What is done with the area that is adjusted: its size, typed if need be, and the actions. Laid
/// out beside the area, in device pixels on the desktop.
struct SelectionBar {
  enum class Part { width, height, copy, close, capture };

  QRect panel;  ///< empty: there is no bar
  QRect times;
  QRect separator;
  QRect captureLabel;
  QRect captureKey;  ///< empty: Return does something else now
  struct Item {
    Part part;
    QRect box;
    bool operator==(const Item&) const = default;
  };
  std::vector<Item> items;

  QString widthText;
  QString heightText;
  std::optional<SizeEntry::Field> typing;  ///< the number with the caret
  bool isReplacing = false;                ///< what is typed replaces it all
  std::optional<Part> hovered;
  QRect tip;  ///< names the icon under the pointer; empty: none
  QString tipText;

  [[nodiscard]] std::optional<Part> partAt(QPoint point) const;
  bool operator==(const SelectionBar&) const = default;
};

/// Below the area, or above it where there is no room, or inside. `scale` is pixels per point.
[[nodiscard]] SelectionBar layOutBar(const SelectionModel& model, double scale,
                                     std::optional<SelectionBar::Part> hovered);

void paintBar(QPainter& painter, const SelectionBar& bar, double scale);

}  // namespace vantorel
