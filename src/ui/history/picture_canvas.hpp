#pragma once

#include <QImage>
#include <QPoint>
#include <QString>
#include <QWidget>
#include <map>
#include <vector>

#include "base/image.hpp"
#include "editor/records/box.hpp"
#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

/// A picture as large as there is room, at most pixel by pixel; a click goes between that and
/// pixel by pixel, where it is dragged about. One so tall that all of it would be a strip is as
/// wide as there is room instead, begins at its top and is scrolled. Of what is scaled only what is
/// seen is kept, however tall it is. Lives on the main thread.
class PictureCanvas : public QWidget {
 public:
  explicit PictureCanvas(QWidget* parent = nullptr);

  /// In the place of another at once; the first one comes gently.
  void show(const Image& picture);

  /// Whether there is more of it above or below what is seen.
  [[nodiscard]] bool scrolls() const;

  /// Scrolls with the keys that do so; false for others.
  bool scrollWith(const QKeyEvent& event);

  /// Marks what a search has found on it: fractions of the picture.
  void mark(std::vector<Box> hits);
  [[nodiscard]] bool hasHits() const { return !hits_.empty() && !picture_.isEmpty(); }

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
  // In device pixels.
  [[nodiscard]] QSize fitted() const;
  [[nodiscard]] QSize shownSize() const { return isWhole_ ? fitted() : pictureSize(); }
  [[nodiscard]] QSize pictureSize() const { return {picture_.width(), picture_.height()}; }
  [[nodiscard]] QSizeF room() const { return QSizeF(size()) * devicePixelRatioF(); }
  void pan(const QPointF& by);
  void bound();
  void paintPicture(QPainter& painter, const QRect& place);
  void paintPosition(QPainter& painter, const QRect& place) const;
  [[nodiscard]] const QImage& strip(int number, const QSize& whole);

  Image picture_;
  std::map<int, QImage> strips_;  ///< of it as large as it is shown, from its top, those seen
  QSize stripsOf_;                ///< how large all of them would be
  QString text_;
  std::vector<Box> hits_;
  int currentHit_ = -1;
  bool isWhole_ = true;
  QPointF offset_;  // of the picture's corner, device pixels
  QPoint pressed_;
  QPoint last_;
  bool isDragged_ = false;
  Entrance entrance_{tokens::previewTime, [this] { update(); }};
};

}  // namespace vantorel
