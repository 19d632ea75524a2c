#pragma once

#include <QAccessible>

class QWidget;

namespace vantorel {

/// What a widget is to screen readers. The toolkit takes one of our own for a container of others,
/// or for a plain button, and names a combo box by its value instead of its accessible name. Before
/// anything else about it that screen readers are told, such as its name.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

/// What has the keyboard in a window whose keys the window itself handles, and had not before: such
/// a widget has a role of `setAccessibleRole`, and screen readers take it for the focused one.
void setAccessibleCurrent(QWidget& widget, bool isCurrent);

/// Whether what a widget with a role of `setAccessibleRole` folds away is to be seen.
void setAccessibleExpanded(QWidget& widget, bool isExpanded);

}  // namespace vantorel
