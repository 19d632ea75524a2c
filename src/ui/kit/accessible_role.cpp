#include "ui/kit/accessible_role.hpp"

#include <QAccessibleWidget>
#include <QApplication>
#include <QVariant>
#include <QWidget>

namespace vantorel {
namespace {

constexpr const char* roleProperty = "vantorelAccessibleRole";

QAccessibleInterface* makeWithRole(const QString&, QObject* object) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (widget == nullptr) return nullptr;
  const QVariant role = widget->property(roleProperty);
  if (!role.isValid()) return nullptr;
  return new QAccessibleWidget(widget, static_cast<QAccessible::Role>(role.toInt()));
}

}  // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
  widget.setProperty(roleProperty, static_cast<int>(role));
  // An application forgets its factories when it goes.
  constexpr const char* mark = "vantorelAccessibleRoles";
  if (qApp->property(mark).toBool()) return;
  qApp->setProperty(mark, true);
  QAccessible::installFactory(makeWithRole);
}

}  // namespace vantorel
