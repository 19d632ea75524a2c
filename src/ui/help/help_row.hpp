#pragma once

#include <QAbstractButton>

#include "app/help_model.hpp"

namespace vantorel {

class KeyCaps;

/// A command or key of Help. One that can be run is a button. Lives on the main thread.
class HelpRow : public QAbstractButton {
 public:
  explicit HelpRow(const HelpModel::Row& row, QWidget* parent = nullptr);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  KeyCaps* keys_;
  bool canRun_;
};

}  // namespace vantorel
