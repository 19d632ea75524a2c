#include "ui/kit/wheel_passing.hpp"

#include <QEvent>
#include <QWidget>

namespace vantorel {
namespace {

class WheelFilter final : public QObject {
 public:
  using QObject::QObject;

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->hasFocus()) return false;
    event->ignore();
    return true;
  }
};

}  // namespace

void passWheelUnlessFocused(QWidget& control) {
  control.setFocusPolicy(Qt::StrongFocus);
  control.installEventFilter(new WheelFilter(&control));
}

}  // namespace vantorel
