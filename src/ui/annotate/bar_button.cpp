#include "ui/annotate/bar_button.hpp"

#include <QToolButton>

namespace vantorel {

QToolButton* makeBarButton(IconName symbol, const QString& name, const QString& key) {
  auto* const button = new QToolButton;
  button->setAutoRaise(true);
  button->setIcon(icon(symbol));
  button->setFocusPolicy(Qt::TabFocus);
  setBarButtonWords(*button, name, key);
  return button;
}

void setBarButtonWords(QToolButton& button, const QString& name, const QString& key) {
  button.setAccessibleName(name);
  button.setToolTip(key.isEmpty() ? name : name + " (" + key + ")");
}

}  // namespace vantorel
