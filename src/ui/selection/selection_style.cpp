#include "ui/selection/selection_style.hpp"

#include <QFontInfo>
#include <QGuiApplication>
#include <QPen>
#include <algorithm>
#include <cmath>

namespace vantorel::selection_style {
namespace {

/// In points; read at a glance and over any picture.
constexpr int smallestText = 13;

}  // namespace

int Measure::operator()(double points) const {
  return std::max(1, static_cast<int>(std::lround(points * scale)));
}

QFont font(double scale) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(Measure{scale}(std::max(smallestText, QFontInfo(font).pixelSize())));
  return font;
}

QRegion frameAround(const QRect& inner, int width) {
  return QRegion(inner.adjusted(-width, -width, width, width)) - QRegion(inner);
}

void fill(QPainter& painter, const QRegion& region, const QColor& color) {
  for (const QRect& rect : region) painter.fillRect(rect, color);
}

void paintRounded(QPainter& painter, const QRect& rect, double radius, const QColor& color) {
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawRoundedRect(rect, radius, radius);
  painter.setRenderHint(QPainter::Antialiasing, false);
}

void paintPanel(QPainter& painter, const QRect& rect, double radius, double scale) {
  paintRounded(painter, rect, radius, panel);
  const double line = Measure{scale}(1);
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setPen(QPen(panelRim, line));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(rect).adjusted(line / 2, line / 2, -line / 2, -line / 2), radius,
                          radius);
  painter.setRenderHint(QPainter::Antialiasing, false);
}

}  // namespace vantorel::selection_style
