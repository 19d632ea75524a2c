#pragma once

#include <QAbstractButton>

namespace vantorel {

/// A filter that is set, in the search field: a click, Backspace or Delete takes it away, which is
/// all that it does. Lives on the main thread.
class FilterChip : public QAbstractButton {
 public:
  explicit FilterChip(const QString& label, QWidget* parent = nullptr);

  /// With all of its label.
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace vantorel
