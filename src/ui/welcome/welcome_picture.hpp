#pragma once

#include <QWidget>

namespace vantorel {

/// A drawing of what the program does: an area of a screen being chosen. Lives on the main thread.
class WelcomePicture : public QWidget {
 public:
  explicit WelcomePicture(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace vantorel
