#pragma once

#include <QWidget>

namespace vantorel {

/// Who has the keyboard before `widget`, which takes none itself: what is made within it later
/// comes after that one, not behind everything.
[[nodiscard]] inline QWidget* focusBefore(QWidget& widget) {
  QWidget* before = widget.previousInFocusChain();
  while (before != &widget && before->focusPolicy() == Qt::NoFocus) {
    before = before->previousInFocusChain();
  }
  return before;
}

}  // namespace vantorel
