#include "ui/kit/clear_button.hpp"

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

}  // namespace vantorel
