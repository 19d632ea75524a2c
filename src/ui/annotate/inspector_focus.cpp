#include "ui/annotate/inspector_focus.hpp"

#include <QApplication>
#include <QChildEvent>
#include <QWidget>

#include "ui/annotate/layer_list.hpp"

namespace vantorel {

InspectorFocus::InspectorFocus(QWidget& inspector, QWidget& canvas)
    : QObject(&inspector), inspector_(inspector), canvas_(canvas) {
  take(inspector);
}

void InspectorFocus::take(QWidget& widget) {
  if (widget.isWindow() || dynamic_cast<LayerList*>(&widget) != nullptr) return;
  if (widget.testAttribute(Qt::WA_InputMethodEnabled)) return;  // a field
  widget.installEventFilter(this);
  if ((widget.focusPolicy() & Qt::TabFocus) != 0) widget.setFocusPolicy(Qt::TabFocus);
  for (QObject* const child : widget.children()) {
    if (auto* const inside = qobject_cast<QWidget*>(child)) take(*inside);
  }
}

bool InspectorFocus::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::ChildPolished) {
    // By now it is what it is going to be.
    if (auto* const child = qobject_cast<QWidget*>(static_cast<QChildEvent*>(event)->child())) {
      take(*child);
    }
  } else if (event->type() == QEvent::MouseButtonPress) {
    // A field that is left has ended.
    const QWidget* const focus = QApplication::focusWidget();
    if (focus != nullptr && inspector_.isAncestorOf(focus)) {
      canvas_.setFocus(Qt::MouseFocusReason);
    }
  }
  return QObject::eventFilter(object, event);
}

}  // namespace vantorel
