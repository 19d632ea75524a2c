#include "ui/kit/field_buttons.hpp"

#include <QLineEdit>
#include <QToolButton>

#include "ui/kit/icons.hpp"

namespace vantorel {

void addClearButton(QLineEdit& field) {
  field.setClearButtonEnabled(true);
  // The toolkit makes it without a name, and black whatever the palette.
  auto* const button = field.findChild<QToolButton*>();
  if (button == nullptr) return;
  button->setIcon(icon(IconName::close, IconTint::quiet));
  button->setAccessibleName(QStringLiteral("Clear"));
  button->setToolTip(QStringLiteral("Clear"));
}

void addSearchMark(QLineEdit& field) {
  field.addAction(icon(IconName::search, IconTint::quiet), QLineEdit::LeadingPosition);
  for (auto* const button : field.findChildren<QToolButton*>()) {
    if (button->accessibleName().isEmpty()) button->setAccessibleName(QStringLiteral("Search"));
  }
}

}  // namespace vantorel
