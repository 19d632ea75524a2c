#pragma once

#include <QPushButton>

namespace vantorel {

/// A button that is a word of text: underlined under the pointer. Lives on the main thread.
class LinkButton : public QPushButton {
 public:
  explicit LinkButton(const QString& text, QWidget* parent = nullptr);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace vantorel
