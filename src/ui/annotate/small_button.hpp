#pragma once

#include <QPushButton>
#include <algorithm>

#include "ui/kit/tokens.hpp"

namespace vantorel {

/// A push button as low as the inspector's other controls. Lives on the main thread.
class SmallButton : public QPushButton {
 public:
  explicit SmallButton(const QString& text, QWidget* parent = nullptr) : QPushButton(text, parent) {
    setAutoDefault(false);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  }

  [[nodiscard]] QSize sizeHint() const override {
    const int arrow = menu() != nullptr ? tokens::space16 : 0;
    return {fontMetrics().horizontalAdvance(text()) + 2 * padding + arrow,
            tokens::controlHeight(tokens::smallControl, font())};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 private:
  static constexpr int padding = 10;
};

}  // namespace vantorel
