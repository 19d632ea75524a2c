#pragma once

#include <QColor>
#include <QObject>

class QWidget;

namespace vantorel {

/// How much of its hover a widget shows, from 0 to 1: on the way between them for a moment after
/// the pointer has come or gone, where `widget` is watched by a `HoverFade`. Main thread.
[[nodiscard]] double hoverPart(const QWidget& widget, bool isHovered);

/// `color` at so much of its strength.
[[nodiscard]] inline QColor faded(QColor color, double part) {
  color.setAlphaF(static_cast<float>(color.alphaF() * part));
  return color;
}

/// An event filter that has widgets painted anew while their hover comes and goes. Main thread.
class HoverFade : public QObject {
 public:
  using QObject::QObject;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace vantorel
