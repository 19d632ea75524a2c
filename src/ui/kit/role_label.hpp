#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>

#include "ui/kit/palette_roles.hpp"

namespace vantorel {

/// A plain text in one of the palette's roles and one of the fonts of `tokens`, which follows both
/// while it is shown. Wraps. Lives on the main thread.
class RoleLabel : public QLabel {
 public:
  using Role = QColor PaletteRoles::*;
  using Font = QFont (*)();

  RoleLabel(const QString& text, Role role, Font makeFont, QWidget* parent = nullptr);

  void setRole(Role role);

  /// A path: on one line, elided in its middle where there is no room.
  void setPath(const QString& path);

  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void align();
  void apply();

  Role role_;
  Font makeFont_;
  bool isPath_ = false;
};

}  // namespace vantorel
