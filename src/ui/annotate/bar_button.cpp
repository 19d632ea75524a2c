#include "ui/annotate/bar_button.hpp"

#include <QCursor>
#include <QToolButton>
#include <QToolTip>

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
  const QString words = key.isEmpty() ? name : name + " (" + key + ")";
  if (words == button.toolTip()) return;
  // The one that is read while it changes.
  const bool isShown =
      button.underMouse() && QToolTip::isVisible() && QToolTip::text() == button.toolTip();
  button.setToolTip(words);
  if (isShown) QToolTip::showText(QCursor::pos(), words, &button);
}

}  // namespace vantorel
