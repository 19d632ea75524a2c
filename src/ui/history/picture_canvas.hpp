#pragma once

#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QString>
#include <QWidget>
#include <vector>

#include "editor/records/box.hpp"
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

  /// Marks what a search has found on it: fractions of the picture.
  void mark(std::vector<Box> hits);
  [[nodiscard]] bool hasHits() const { return !hits_.empty() && !picture_.isNull(); }

  /// Brings the next one into sight, after the last one the first.
  void stepToNextHit();

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
  std::vector<Box> hits_;
  int currentHit_ = -1;
  bool isWhole_ = true;
  QPointF offset_;  // of the picture's corner, device pixels, when it is not whole
  QPoint pressed_;
  QPoint last_;
  bool isDragged_ = false;
  Entrance entrance_{tokens::previewTime, [this] { update(); }};
};

}  // namespace vantorel
