#pragma once

#include <QObject>

class QWidget;

namespace vantorel {

/// Leaves the keyboard with the canvas when the pointer works the controls beside it, so that the
/// keys of what is selected go on working: only Tab reaches those controls. Fields, and lists whose
/// rows have keys of their own, take it as everywhere. Holds for what is added later, too. Lives on
/// the main thread.
class InspectorFocus : public QObject {
 public:
  /// Belongs to `inspector`.
  InspectorFocus(QWidget& inspector, QWidget& canvas);

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void take(QWidget& widget);

  QWidget& inspector_;
  QWidget& canvas_;
};

}  // namespace vantorel
