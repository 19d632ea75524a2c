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

  /// So many lines at most: the last one is elided then, and the tooltip has all of it.
  void setMostLines(int lines);

  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void align();
  void apply();

  /// As they are shown at this width; empty while they are shown as they are.
  [[nodiscard]] QStringList elidedLines(int width) const;

  Role role_;
  Font makeFont_;
  bool isPath_ = false;
  int mostLines_ = 0;  // 0: as many as it takes
};

}  // namespace vantorel
