#include "ui/annotate/segment_pictures.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>

#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr double pictureStroke = 1.7;
constexpr std::array<double, 5> pictureWidths{1.5, 2.5, 4, 6, 9};

QPen roundPen(const QColor& ink, double width) {
  return {ink, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

double pictureWidth(int index) {
  return pictureWidths[static_cast<std::size_t>(std::clamp(index, 0, 4))];
}

}  // namespace

SegmentedControl::Picture widthPicture(int index) {
  return [index](QPainter& painter, const QRectF& area, const QColor& ink) {
    const QPointF middle = area.center();
    const double half = std::min(9.0, area.width() / 2 - 3);
    painter.setPen(QPen(ink, pictureWidth(index), Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(middle - QPointF(half, 0), middle + QPointF(half, 0));
  };
}

SegmentedControl::Picture letterPicture(int index) {
  return [index](QPainter& painter, const QRectF& area, const QColor& ink) {
    QFont font = tokens::strongFont();
    font.setPixelSize(static_cast<int>(std::min(10 + 2.5 * index, area.height() - 4)));
    painter.setFont(font);
    painter.setPen(ink);
    painter.drawText(area, Qt::AlignCenter, QStringLiteral("A"));
  };
}

SegmentedControl::Picture diskPicture(int index) {
  return [index](QPainter& painter, const QRectF& area, const QColor& ink) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    const double radius = 2.5 + 1.4 * index;
    painter.drawEllipse(area.center(), radius, radius);
  };
}

SegmentedControl::Picture headPicture(ArrowHeadStyle style) {
  return [style](QPainter& painter, const QRectF& area, const QColor& ink) {
    const QPointF middle = area.center();
    painter.setPen(roundPen(ink, pictureStroke));
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(middle - QPointF(9, 0), middle + QPointF(9, 0));
    const auto head = [&](double side) {
      const QPointF tip = middle + QPointF(9 * side, 0);
      const QPointF corners[] = {tip + QPointF(-5 * side, -4.5), tip,
                                 tip + QPointF(-5 * side, 4.5)};
      painter.drawPolyline(corners, 3);
    };
    if (style != ArrowHeadStyle::headless) head(1);
    if (style == ArrowHeadStyle::both) head(-1);
  };
}

SegmentedControl::Picture alignPicture(TextAlign align) {
  return [align](QPainter& painter, const QRectF& area, const QColor& ink) {
    painter.setPen(roundPen(ink, pictureStroke));
    const std::array<double, 3> lengths{16, 9, 13};
    // Leading is where the script begins, which is the text's own affair; shown as the window runs.
    const double mirror = QGuiApplication::isRightToLeft() ? -1 : 1;
    for (int i = 0; i < 3; ++i) {
      const double length = lengths[static_cast<std::size_t>(i)];
      double start = -length / 2;
      if (align == TextAlign::leading) start = mirror > 0 ? -8 : 8 - length;
      if (align == TextAlign::trailing) start = mirror > 0 ? 8 - length : -8;
      const QPointF from = area.center() + QPointF(start, 4.5 * (i - 1));
      painter.drawLine(from, from + QPointF(length, 0));
    }
  };
}

SegmentedControl::Picture polygonPicture(PolygonForm form) {
  return [form](QPainter& painter, const QRectF& area, const QColor& ink) {
    Shape shape;
    shape.type = ShapeType::polygon;
    shape.sides = form.sides;
    shape.starInset = form.starInset;
    shape.x1 = area.center().x() - 8;
    shape.y1 = area.center().y() - 8;
    shape.x2 = shape.x1 + 16;
    shape.y2 = shape.y1 + 16;
    QPolygonF outline;
    for (const Pt& vertex : polygonVertices(shape)) outline << QPointF(vertex.x, vertex.y);
    painter.setPen(roundPen(ink, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolygon(outline);
  };
}

}  // namespace vantorel
