#pragma once

#include <QAbstractButton>

#include "ui/kit/icons.hpp"

namespace vantorel {

/// A pane's line in the navigation of Settings. Lives on the main thread.
class PaneButton : public QAbstractButton {
 public:
  PaneButton(const QString& title, IconName symbol, QWidget* parent = nullptr);

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  IconName symbol_;
};

}  // namespace vantorel
