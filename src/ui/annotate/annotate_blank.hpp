#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QPushButton;

namespace vantorel {

/// What stands in the canvas of a picture that could not be opened. Lives on the main thread.
class AnnotateBlank : public QWidget {
 public:
  explicit AnnotateBlank(QWidget* parent);

  void show(const QString& sentence, bool offersRemove);

  std::function<void()> onRemove;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QLabel* symbol_;
  QLabel* sentence_;
  QPushButton* remove_;
};

}  // namespace vantorel
