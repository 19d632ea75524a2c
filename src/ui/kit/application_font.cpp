#include "ui/kit/application_font.hpp"

#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QWidget>

namespace vantorel {
namespace {

class FontFollower : public QObject {
 public:
  FontFollower(QWidget& widget, QFont (*makeFont)())
      : QObject(&widget), widget_(widget), makeFont_(makeFont) {
    widget.installEventFilter(this);
  }

  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::ApplicationFontChange) widget_.setFont(makeFont_());
    return false;
  }

 private:
  QWidget& widget_;
  QFont (*makeFont_)();
};

}  // namespace

void setApplicationFont(const QFont& font) {
  if (font == QApplication::font()) return;
  QApplication::setFont(font);
  QList<QPointer<QWidget>> widgets;
  for (QWidget* const widget : QApplication::allWidgets()) {
    if (!widget->isWindow()) widgets.push_back(widget);
  }
  for (const QPointer<QWidget>& widget : widgets) {
    QEvent changed(QEvent::ApplicationFontChange);
    if (widget != nullptr) QCoreApplication::sendEvent(widget, &changed);
  }
}

void setFollowingFont(QWidget& widget, QFont (*makeFont)()) {
  widget.setFont(makeFont());
  new FontFollower(widget, makeFont);
}

}  // namespace vantorel
