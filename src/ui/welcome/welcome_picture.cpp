#include "ui/welcome/welcome_picture.hpp"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <array>

namespace vantorel {
namespace {

constexpr QSize drawn(440, 132);
constexpr double radius = 12;

struct Bar {
  int x;
  int top;
  int height;
};

constexpr auto bars = std::to_array<Bar>({{196, 96, 40},
                                          {218, 86, 50},
                                          {240, 66, 70},
                                          {262, 80, 60},
                                          {284, 92, 50},
                                          {306, 98, 40},
                                          {328, 90, 50}});
constexpr std::size_t tallestBar = 2;

constexpr QRectF chosen(182, 54, 174, 68);
constexpr double handle = 7;

void paintScreen(QPainter& painter) {
  QLinearGradient sky(0, 0, drawn.width(), drawn.height());
  sky.setColorAt(0, QColor(0x12, 0x22, 0x30));
  sky.setColorAt(0.5, QColor(0x25, 0x58, 0x61));
  sky.setColorAt(1, QColor(0xb8, 0x87, 0x57));
  painter.fillRect(QRect(QPoint(), drawn).adjusted(-drawn.width(), 0, drawn.width(), 0), sky);

  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xfb, 0xfa, 0xf7));
  painter.drawRoundedRect(QRectF(30, 24, 190, 90), 6, 6);
  painter.setBrush(QColor(0x23, 0x25, 0x2b));
  painter.drawRoundedRect(QRectF(46, 42, 86, 8), 4, 4);
  painter.setBrush(QColor(0x8b, 0x8f, 0x98));
  for (const QRectF line :
       {QRectF(46, 62, 150, 5), QRectF(46, 74, 140, 5), QRectF(46, 86, 110, 5)}) {
    painter.drawRoundedRect(line, 2.5, 2.5);
  }
  painter.setBrush(QColor(0x1b, 0x1e, 0x28));
  painter.drawRoundedRect(QRectF(170, 44, 200, 100), 6, 6);
  for (std::size_t i = 0; i < bars.size(); ++i) {
    painter.setBrush(i == tallestBar ? QColor(0xf2, 0xa6, 0x5a) : QColor(0x6f, 0xb1, 0xcc));
    painter.drawRect(QRectF(bars[i].x, bars[i].top, 14, bars[i].height));
  }
}

void paintSelection(QPainter& painter) {
  QPainterPath outside;
  outside.addRect(QRectF(QPointF(), drawn).adjusted(-drawn.width(), 0, drawn.width(), 0));
  outside.addRect(chosen);  // leaves its inside out
  painter.fillPath(outside, QColor(0, 0, 0, 107));
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 1));
  painter.drawRect(chosen.adjusted(-0.5, -0.5, 0.5, 0.5));
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  for (const QPointF corner :
       {chosen.topLeft(), chosen.topRight(), chosen.bottomLeft(), chosen.bottomRight()}) {
    painter.drawRoundedRect(
        QRectF(corner - QPointF(handle / 2, handle / 2), QSizeF(handle, handle)), 2, 2);
  }
}

}  // namespace

WelcomePicture::WelcomePicture(QWidget* parent) : QWidget(parent) {
  setFixedHeight(drawn.height());
}

void WelcomePicture::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath frame;
  frame.addRoundedRect(rect(), radius, radius);
  painter.setClipPath(frame);
  painter.translate((width() - drawn.width()) / 2.0, 0);
  paintScreen(painter);
  paintSelection(painter);
}

}  // namespace vantorel
