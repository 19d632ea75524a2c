#include "ui/selection/loupe.hpp"

#include <QFontMetrics>
#include <algorithm>
#include <cmath>

#include "ui/selection/selection_style.hpp"

namespace vantorel {
namespace {

using selection_style::fill;
using selection_style::frameAround;
using selection_style::Measure;

int loupeSide(double scale) { return loupePixels * std::max(1, Measure{scale}(8)); }

}  // namespace

QRect Loupe::area() const {
  const int rim = static_cast<int>(std::ceil(4 * scale));
  return (pixels | caption).adjusted(-rim, -rim, rim, rim);
}

QSize loupeSize(const QStringList& lines, double scale) {
  const Measure measure{scale};
  const QFontMetrics metrics(selection_style::font(scale));
  const int side = loupeSide(scale);
  int width = side;
  for (const QString& line : lines) {
    width = std::max(width, metrics.horizontalAdvance(line) + measure(16));
  }
  return {width, side + metrics.lineSpacing() * static_cast<int>(lines.size()) + measure(10)};
}

Loupe loupeAt(QPoint corner, const QStringList& lines, double scale) {
  const QSize size = loupeSize(lines, scale);
  const int side = loupeSide(scale);
  Loupe loupe;
  loupe.pixels = QRect(corner.x() + (size.width() - side) / 2, corner.y(), side, side);
  loupe.caption = QRect(corner.x(), corner.y() + side, size.width(), size.height() - side);
  loupe.captionText = lines.join(u'\n');
  loupe.scale = scale;
  return loupe;
}

Loupe loupeBeside(QPoint point, const QRect& view, const QStringList& lines, double scale) {
  const QSize size = loupeSize(lines, scale);
  const int gap = Measure{scale}(24);
  const auto along = [&](int at, int length, int low, int high) {
    const bool fitsBehind = at + gap + length <= high + 1;
    const int start = fitsBehind ? at + gap : at - gap - length;
    return std::clamp(start, low, std::max(low, high + 1 - length));
  };
  return loupeAt({along(point.x(), size.width(), view.left(), view.right()),
                  along(point.y(), size.height(), view.top(), view.bottom())},
                 lines, scale);
}

void paintLoupe(QPainter& painter, const Loupe& loupe,
                const std::function<void(QPainter&)>& paintPixels) {
  if (loupe.pixels.isEmpty()) return;
  const int rim = Measure{loupe.scale}(1);
  const int zoom = loupe.pixels.width() / loupePixels;
  const QRect frame = (loupe.pixels | loupe.caption).adjusted(-rim, -rim, rim, rim);
  selection_style::paintPanel(painter, frame.adjusted(-rim * 2, -rim * 2, rim * 2, rim * 2),
                              8 * loupe.scale, loupe.scale);
  painter.fillRect(loupe.pixels, Qt::black);
  paintPixels(painter);
  const QRect middle(loupe.pixels.topLeft() + QPoint(zoom, zoom) * (loupePixels / 2),
                     QSize(zoom, zoom));
  fill(painter, frameAround(middle, rim), Qt::white);
  fill(painter, frameAround(middle.adjusted(-rim, -rim, rim, rim), rim), Qt::black);
  painter.setFont(selection_style::font(loupe.scale));
  painter.setPen(selection_style::text);
  painter.drawText(loupe.caption, Qt::AlignCenter, loupe.captionText);
}

}  // namespace vantorel
