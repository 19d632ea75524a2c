#include "ui/tray/tray_icon.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPolygonF>
#include <QStandardPaths>

namespace vantorel {
namespace {

constexpr int grid = 16;

// As in the theme's picture: an area's four corners, and the program's letter.
void paintMark(QPainter& painter) {
  const QPolygonF corner({{1, 1}, {6, 1}, {6, 3}, {3, 3}, {3, 6}, {1, 6}});
  for (int turn = 0; turn < 4; ++turn) {
    painter.drawPolygon(corner);
    painter.translate(grid, 0);
    painter.rotate(90);
  }
  painter.drawPolygon(
      QPolygonF({{4.5, 5}, {6.7, 5}, {8, 8.6}, {9.3, 5}, {11.5, 5}, {9, 11.5}, {7, 11.5}}));
}

void paintDot(QPainter& painter, const QColor& color) {
  const QPointF middle(12, 12);
  painter.setCompositionMode(QPainter::CompositionMode_Clear);  // a gap sets it off
  painter.drawEllipse(middle, 5, 5);
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  painter.setBrush(color);
  painter.drawEllipse(middle, 4, 4);
}

QPixmap picture(int side, StatusMark mark) {
  QPixmap pixmap(side, side);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(static_cast<double>(side) / grid, static_cast<double>(side) / grid);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x7d, 0x82, 0x8c));
  paintMark(painter);
  if (mark != StatusMark::none) {
    paintDot(painter, mark == StatusMark::recording
                          ? QColor(0xe0, 0x3b, 0x3b)
                          : QGuiApplication::palette().highlight().color());
  }
  return pixmap;
}

}  // namespace

TrayIcon trayIcon(StatusMark mark) {
  const auto name = QStringLiteral("com.hollen.Vantorel-symbolic");
  const QString file =
      QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                             QStringLiteral("icons/hicolor/symbolic/apps/%1.svg").arg(name));
  TrayIcon icon{file.isEmpty() || mark != StatusMark::none ? QString() : name, {}};
  for (const int side : {16, 22, 24, 32, 48, 64}) icon.pictures.addPixmap(picture(side, mark));
  return icon;
}

}  // namespace vantorel
