#pragma once

#include <QLineEdit>
#include <functional>
#include <optional>

namespace vantorel {

/// The field in which a name is changed in its place, of a capture or of a collection. Its keys
/// stay with it: Return ends the change and does nothing else to what bears the name.
class NameField : public QLineEdit {
 public:
  /// Shown over its parent with the whole name selected, at `area`, with the keyboard.
  NameField(const QString& name, const QString& accessibleName, const QRect& area, QWidget* parent);

  /// Called once, with what was typed without blanks around it; nothing after Esc. The field goes
  /// by itself, and after a key its parent has the keyboard.
  std::function<void(std::optional<QString> name)> onDone;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void finish(bool keeps, bool byKey);
};

}  // namespace vantorel
