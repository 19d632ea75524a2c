#include "ui/selection/selection_painting.hpp"

#include <QPen>

#include "ui/selection/selection_style.hpp"

namespace vantorel {
namespace {

using selection_style::fill;
using selection_style::frameAround;
using selection_style::paintPanel;
using selection_style::paintRounded;

int pixels(const SelectionLayout& layout, double points) {
  return selection_style::Measure{layout.scale}(points);
}

void paintChosen(QPainter& painter, const SelectionLayout& layout) {
  if (layout.chosen.isEmpty()) return;
  const int line = pixels(layout, 1);
  if (layout.isPick) {
    QColor tint = selection_style::accent;
    tint.setAlpha(40);
    painter.fillRect(layout.chosen, tint);
    const int width = pixels(layout, 3);
    fill(painter, frameAround(layout.chosen.adjusted(width, width, -width, -width), width),
         selection_style::accent);
    return;
  }
  // Outside of the selection, so that all of it is seen; light and dark, to be seen on anything.
  // The display beside it has no part in it.
  const auto frame = [&](const QRect& around, const QColor& color) {
    fill(painter, frameAround(around, line) & layout.display, color);
  };
  frame(layout.chosen, Qt::white);
  frame(layout.chosen.adjusted(-line, -line, line, line), QColor(0, 0, 0, 160));
}

void paintHandles(QPainter& painter, const SelectionLayout& layout) {
  const int rim = pixels(layout, 1);
  for (const QRect& handle : layout.handles) {
    paintRounded(painter, handle.adjusted(-rim, -rim, rim, rim), 3 * layout.scale,
                 QColor(0, 0, 0, 160));
    paintRounded(painter, handle, 2 * layout.scale, Qt::white);
  }
  if (layout.focusedHandle.isEmpty()) return;
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setBrush(Qt::NoBrush);
  const double radius = 14 * layout.scale;
  painter.setPen(QPen(QColor(0, 0, 0, 160), 4 * layout.scale));
  painter.drawEllipse(QRectF(layout.focusedHandle).center(), radius, radius);
  painter.setPen(QPen(selection_style::accent, 2 * layout.scale));
  painter.drawEllipse(QRectF(layout.focusedHandle).center(), radius, radius);
  painter.setRenderHint(QPainter::Antialiasing, false);
}

void paintDetail(QPainter& painter, const std::vector<FrozenPicture>& pictures,
                 const SelectionLayout& layout) {
  paintLoupe(painter, Loupe{layout.loupe, layout.caption, layout.captionText, layout.scale},
             [&](QPainter&) {
               const int zoom = layout.loupe.width() / loupePixels;
               const QPoint corner = layout.detail - QPoint(loupePixels / 2, loupePixels / 2);
               const QRect source(corner, QSize(loupePixels, loupePixels));
               for (const FrozenPicture& picture : pictures) {
                 const QRect part = source & picture.area;
                 if (part.isEmpty()) continue;
                 const QPoint place = layout.loupe.topLeft() + (part.topLeft() - corner) * zoom;
                 painter.drawImage(QRect(place, part.size() * zoom), picture.image,
                                   part.translated(-picture.area.topLeft()));
               }
               if (layout.chosen.isEmpty()) return;
               const QRect inside = source & layout.chosen;
               const QRect shown(layout.loupe.topLeft() + (inside.topLeft() - corner) * zoom,
                                 inside.size() * zoom);
               fill(painter, QRegion(layout.loupe) - QRegion(shown), selection_style::dim);
             });
}

void paintCaption(QPainter& painter, const SelectionLayout& layout) {
  // A loupe writes its own.
  if (layout.caption.isEmpty() || !layout.loupe.isEmpty()) return;
  paintPanel(painter, layout.caption, 4 * layout.scale, layout.scale);
  painter.setPen(selection_style::text);
  painter.drawText(layout.caption, Qt::AlignCenter, layout.captionText);
}

void paintHints(QPainter& painter, const SelectionLayout& layout) {
  paintPanel(painter, layout.hintLine, 9 * layout.scale, layout.scale);
  for (const SelectionHint& hint : layout.hints) {
    paintRounded(painter, hint.keyBox, 4 * layout.scale, selection_style::key);
    painter.setPen(selection_style::text);
    painter.drawText(hint.keyBox, Qt::AlignCenter, hint.key);
    painter.setPen(selection_style::quietText);
    painter.drawText(hint.effectBox, Qt::AlignCenter, hint.effect);
  }
}

}  // namespace

void paintSelection(QPainter& painter, const QRegion& dirty,
                    const std::vector<FrozenPicture>& pictures, const SelectionLayout& layout) {
  painter.setClipRegion(dirty);
  QRegion bare = dirty;
  for (const FrozenPicture& picture : pictures) bare -= picture.area;
  fill(painter, bare, Qt::black);
  for (const FrozenPicture& picture : pictures) {
    for (const QRect& rect : dirty& picture.area) {
      painter.drawImage(rect.topLeft(), picture.image, rect.translated(-picture.area.topLeft()));
    }
  }
  fill(painter, dirty - QRegion(layout.chosen), selection_style::dim);
  const QColor hairline(255, 255, 255, 110);
  fill(painter, QRegion(layout.hairlineAcross) ^ QRegion(layout.hairlineDown), hairline);
  painter.setFont(selection_style::font(layout.scale));
  paintChosen(painter, layout);
  paintHandles(painter, layout);
  // Words are laid out even where nothing of them shows.
  const int shadow = pixels(layout, 16);
  const auto isTouched = [&](const QRect& part) {
    return dirty.intersects(part.adjusted(-shadow, -shadow, shadow, shadow));
  };
  if (isTouched(layout.hintLine)) paintHints(painter, layout);
  if (isTouched(layout.loupe | layout.caption)) {
    paintDetail(painter, pictures, layout);
    paintCaption(painter, layout);
  }
  paintBar(painter, layout.bar, layout.scale);
}

}  // namespace vantorel
