#pragma once

#include <QAccessible>

class QWidget;

namespace vantorel {

/// What a widget of our own is to screen readers; the toolkit takes it for a container of others.
/// Before the widget is shown.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

}  // namespace vantorel
