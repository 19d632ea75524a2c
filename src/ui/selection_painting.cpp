#include "ui/selection_painting.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

const QColor dim(0, 0, 0, 115);
const QColor panel(24, 26, 30, 235);
const QColor panelText(245, 246, 248);
const QColor quietText(190, 195, 203);
const QColor keyBack(70, 75, 84);
const QColor accent(64, 156, 255);

int pixels(const SelectionLayout& layout, double points) {
  return std::max(1, static_cast<int>(std::lround(points * layout.scale)));
}

/// The four bars of `width` pixels around `inner`, outside of it.
QRegion frameAround(const QRect& inner, int width) {
  return QRegion(inner.adjusted(-width, -width, width, width)) - QRegion(inner);
}

void fill(QPainter& painter, const QRegion& region, const QColor& color) {
  for (const QRect& rect : region) painter.fillRect(rect, color);
}

void paintPanel(QPainter& painter, const QRect& rect, double radius, const QColor& color) {
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawRoundedRect(rect, radius, radius);
  painter.setRenderHint(QPainter::Antialiasing, false);
}

void paintChosen(QPainter& painter, const SelectionLayout& layout) {
  if (layout.chosen.isEmpty()) return;
  const int line = pixels(layout, 1);
  if (layout.isPick) {
    QColor tint = accent;
    tint.setAlpha(40);
    painter.fillRect(layout.chosen, tint);
    const int width = pixels(layout, 3);
    fill(painter, frameAround(layout.chosen.adjusted(width, width, -width, -width), width), accent);
    return;
  }
  // Outside of the selection, so that all of it is seen; light and dark, to be seen on anything.
  fill(painter, frameAround(layout.chosen, line), Qt::white);
  fill(painter, frameAround(layout.chosen.adjusted(-line, -line, line, line), line),
       QColor(0, 0, 0, 160));
}

void paintLoupe(QPainter& painter, const std::vector<FrozenPicture>& pictures,
                const SelectionModel& model, const SelectionLayout& layout) {
  if (layout.loupe.isEmpty()) return;
  const int zoom = layout.loupe.width() / loupePixels;
  const QPoint corner = model.pointer() - QPoint(loupePixels / 2, loupePixels / 2);
  const QRect source(corner, QSize(loupePixels, loupePixels));
  const int rim = pixels(layout, 1);
  const QRect frame = (layout.loupe | layout.caption).adjusted(-rim, -rim, rim, rim);
  paintPanel(painter, frame, pixels(layout, 4), panel);
  painter.fillRect(layout.loupe, Qt::black);
  for (const FrozenPicture& picture : pictures) {
    const QRect part = source & picture.area;
    if (part.isEmpty()) continue;
    painter.drawImage(
        QRect(layout.loupe.topLeft() + (part.topLeft() - corner) * zoom, part.size() * zoom),
        picture.image, part.translated(-picture.area.topLeft()));
  }
  if (!layout.chosen.isEmpty()) {
    const QRect inside = source & layout.chosen;
    const QRect shown(layout.loupe.topLeft() + (inside.topLeft() - corner) * zoom,
                      inside.size() * zoom);
    fill(painter, QRegion(layout.loupe) - QRegion(shown), dim);
  }
  const QRect middle(layout.loupe.topLeft() + QPoint(zoom, zoom) * (loupePixels / 2),
                     QSize(zoom, zoom));
  fill(painter, frameAround(middle, rim), Qt::white);
  fill(painter, frameAround(middle.adjusted(-rim, -rim, rim, rim), rim), Qt::black);
}

void paintCaption(QPainter& painter, const SelectionLayout& layout) {
  if (layout.caption.isEmpty()) return;
  if (layout.loupe.isEmpty()) paintPanel(painter, layout.caption, pixels(layout, 4), panel);
  painter.setPen(panelText);
  painter.drawText(layout.caption, Qt::AlignCenter, layout.captionText);
}

void paintHints(QPainter& painter, const SelectionLayout& layout) {
  paintPanel(painter, layout.hintLine, pixels(layout, 9), panel);
  for (const SelectionHint& hint : layout.hints) {
    paintPanel(painter, hint.keyBox, pixels(layout, 4), keyBack);
    painter.setPen(panelText);
    painter.drawText(hint.keyBox, Qt::AlignCenter, hint.key);
    painter.setPen(quietText);
    painter.drawText(hint.effectBox, Qt::AlignCenter, hint.effect);
  }
}

}  // namespace

QImage sharedImage(const Image& image) {
  return {image.row(0).data(), image.width(), image.height(),
          static_cast<qsizetype>(image.stride()),
          image.format() == PixelFormat::bgrx ? QImage::Format_RGB32
                                              : QImage::Format_ARGB32_Premultiplied};
}

void paintSelection(QPainter& painter, const QRegion& dirty,
                    const std::vector<FrozenPicture>& pictures, const SelectionModel& model,
                    const SelectionLayout& layout) {
  painter.setClipRegion(dirty);
  fill(painter, dirty, Qt::black);
  for (const FrozenPicture& picture : pictures) {
    for (const QRect& rect : dirty& picture.area) {
      painter.drawImage(rect.topLeft(), picture.image, rect.translated(-picture.area.topLeft()));
    }
  }
  fill(painter, dirty - QRegion(layout.chosen), dim);
  const QColor hairline(255, 255, 255, 110);
  fill(painter, QRegion(layout.hairlineAcross) ^ QRegion(layout.hairlineDown), hairline);
  painter.setFont(selectionFont(layout.scale));
  paintChosen(painter, layout);
  paintHints(painter, layout);
  paintLoupe(painter, pictures, model, layout);
  paintCaption(painter, layout);
}

}  // namespace vantorel
