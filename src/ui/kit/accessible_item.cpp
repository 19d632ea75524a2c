#include "ui/kit/accessible_item.hpp"

#include <QApplication>
#include <QVariant>

namespace vantorel {

void installAccessibleFactory(const char* mark, QAccessible::InterfaceFactory factory) {
  // An application forgets its factories when it goes.
  if (qApp->property(mark).toBool()) return;
  qApp->setProperty(mark, true);
  QAccessible::installFactory(factory);
}

}  // namespace vantorel
