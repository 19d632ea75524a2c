#pragma once

#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QString>
#include <QWidget>

#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

/// A picture as large as there is room, at most pixel by pixel; a click goes between that and
/// pixel by pixel, where it is dragged about. Lives on the main thread.
class PictureCanvas : public QWidget {
 public:
  explicit PictureCanvas(QWidget* parent = nullptr);

  /// In the place of another at once; the first one comes gently.
  void show(const QImage& picture);

  /// Says something in place of a picture.
  void say(const QString& text);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  [[nodiscard]] QSize fitted() const;  ///< device pixels
  void pan(const QPoint& by);
  void bound();

  QImage picture_;
  QPixmap fittedPixmap_;
  QString text_;
  bool isWhole_ = true;
  QPointF offset_;  // of the picture's corner, device pixels, when it is not whole
  QPoint pressed_;
  QPoint last_;
  bool isDragged_ = false;
  Entrance entrance_{tokens::previewTime, [this] { update(); }};
};

}  // namespace vantorel
