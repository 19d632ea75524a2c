#pragma once

#include <QCheckBox>

namespace vantorel {

/// A switch for what is on or off at once. A check box to screen readers and keys; its text, when
/// it has one, is its accessible name and not painted.
class ToggleSwitch : public QCheckBox {
 public:
  explicit ToggleSwitch(QWidget* parent = nullptr);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  [[nodiscard]] bool hitButton(const QPoint& at) const override;
};

}  // namespace vantorel
