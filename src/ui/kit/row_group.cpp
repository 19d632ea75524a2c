#include "ui/kit/row_group.hpp"

#include <QPainter>
#include <QVBoxLayout>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

QColor groupGround(const QPalette& palette) {
  const PaletteRoles roles = rolesOf(palette);
  // A dark box stands out by being lighter than its window.
  return roles.isDark ? mixed(roles.window, roles.text, 0.035) : roles.base;
}

RowGroup::RowGroup(QWidget* parent) : QWidget(parent), rows_(new QVBoxLayout(this)) {
  rows_->setContentsMargins(1, 1, 1, 1);
  rows_->setSpacing(1);
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
}

void RowGroup::addRow(QWidget* row) { rows_->addWidget(row); }

int RowGroup::count() const { return rows_->count(); }

void RowGroup::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const PaletteRoles roles = rolesOf(palette());
  paintBox(painter, rect(), tokens::groupRadius, groupGround(palette()), roles.line);
  painter.setRenderHint(QPainter::Antialiasing, false);
  for (int i = 1; i < rows_->count(); ++i) {
    const QWidget* const row = rows_->itemAt(i)->widget();
    painter.fillRect(QRect(1, row->y() - 1, width() - 2, 1), roles.line);
  }
}

}  // namespace vantorel
