#pragma once

#include <QWidget>

class QVBoxLayout;

namespace vantorel {

/// A rounded box of rows with lines between them. Lives on the main thread.
class RowGroup : public QWidget {
 public:
  explicit RowGroup(QWidget* parent = nullptr);

  void addRow(QWidget* row);
  [[nodiscard]] int count() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QVBoxLayout* rows_;
};

/// The background of such a box.
[[nodiscard]] QColor groupGround(const QPalette& palette);

}  // namespace vantorel
