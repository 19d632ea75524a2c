#pragma once

#include <QString>
#include <QWidget>
#include <functional>

class QToolButton;

namespace vantorel {

/// The bar below the canvas: what the tool does, and the zoom. Lives on the main thread.
class AnnotateFooter : public QWidget {
 public:
  explicit AnnotateFooter(QWidget* parent);

  /// The line for the tool; `said`, where there is something, stands in its place.
  void showHint(const QString& hint, const QString& said);

  /// `zoom` 1 is pixel by pixel.
  void showZoom(double zoom, bool isFit);

  void setZoomEnabled(bool isEnabled);

  std::function<void()> onZoomIn;
  std::function<void()> onZoomOut;
  std::function<void()> onFit;
  std::function<void(double zoom)> onZoom;

  /// With the desktop's font, px.
  [[nodiscard]] static int usualHeight();
  [[nodiscard]] QSize sizeHint() const override { return {0, usualHeight()}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void showMenu();

  class Line;
  Line* line_;
  QToolButton* less_;
  QToolButton* zoom_;
  QToolButton* more_;
  QToolButton* fit_;
  double shown_ = 1;
};

}  // namespace vantorel
