#include "ui/annotate/sample_loupe.hpp"

#include <cmath>

namespace vantorel {

Loupe sampleLoupe(QPoint pointer, const QRect& view, Pt pixel,
                  const std::optional<std::string>& color, double scale) {
  QStringList lines{QStringLiteral("%1, %2")
                        .arg(std::floor(pixel.x), 0, 'f', 0)
                        .arg(std::floor(pixel.y), 0, 'f', 0)};
  // A line for the color stays also where there is none: the loupe keeps its size.
  lines << (color ? QString::fromStdString(*color) : QStringLiteral("–"));
  return loupeBeside(pointer, view, lines, scale);
}

void paintSampleLoupe(QPainter& painter, const Loupe& loupe, const QImage& pixels) {
  paintLoupe(painter, loupe, [&](QPainter& inside) {
    inside.setRenderHint(QPainter::SmoothPixmapTransform, false);
    if (!pixels.isNull()) inside.drawImage(loupe.pixels, pixels);
  });
}

}  // namespace vantorel
