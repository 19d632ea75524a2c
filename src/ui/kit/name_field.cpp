#include "ui/kit/name_field.hpp"

#include <QKeyEvent>
#include <utility>

namespace vantorel {

NameField::NameField(const QString& name, const QString& accessibleName, const QRect& area,
                     QWidget* parent)
    : QLineEdit(name, parent) {
  setAccessibleName(accessibleName);
  setToolTip(accessibleName + QStringLiteral(" (Return keeps, Esc leaves it as it was)"));
  setGeometry(area);
  selectAll();
  show();
  setFocus();
}

void NameField::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: finish(true, true); break;
    case Qt::Key_Escape: finish(false, true); break;
    default: QLineEdit::keyPressEvent(event);
  }
  event->accept();
}

void NameField::focusOutEvent(QFocusEvent* event) {
  QLineEdit::focusOutEvent(event);
  // Its own menu only borrows the keyboard, and so does another window.
  if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason) {
    finish(true, false);
  }
}

void NameField::finish(bool keeps, bool byKey) {
  const auto done = std::exchange(onDone, nullptr);
  if (!done) return;
  const QString name = text().trimmed();
  if (byKey) parentWidget()->setFocus(Qt::OtherFocusReason);
  hide();
  deleteLater();
  done(keeps ? std::optional(name) : std::nullopt);
}

}  // namespace vantorel
