#pragma once

#include <QPainter>
#include <QRect>
#include <QRegion>
#include <QString>
#include <QStringList>
#include <functional>

namespace vantorel {

/// So many pixels each way does the loupe show; odd, so that the pointer's is in the middle.
inline constexpr int loupePixels = 15;

/// A few pixels enlarged, and what is said of them below, in device pixels. Empty rectangles are
/// not drawn.
struct Loupe {
  QRect pixels;
  QRect caption;
  QString captionText;
  double scale = 1;  ///< device pixels per point

  /// All that it covers.
  [[nodiscard]] QRect area() const;
};

/// How much room a loupe takes above `lines`, without its frame.
[[nodiscard]] QSize loupeSize(const QStringList& lines, double scale);

[[nodiscard]] Loupe loupeAt(QPoint corner, const QStringList& lines, double scale);

/// The loupe beside a point of `view`, on the side where it has room.
[[nodiscard]] Loupe loupeBeside(QPoint point, const QRect& view, const QStringList& lines,
                                double scale);

/// `paintPixels` fills the square of pixels; the one in the middle is framed over it.
void paintLoupe(QPainter& painter, const Loupe& loupe,
                const std::function<void(QPainter&)>& paintPixels);

}  // namespace vantorel
