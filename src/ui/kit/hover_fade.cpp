#include "ui/kit/hover_fade.hpp"

#include <QEasingCurve>
#include <QEvent>
#include <QVariantAnimation>
#include <QWidget>

#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

QVariantAnimation* fadeOf(const QObject& widget) {
  return widget.findChild<QVariantAnimation*>(QStringLiteral("hoverFade"),
                                              Qt::FindDirectChildrenOnly);
}

}  // namespace

double hoverPart(const QWidget& widget, bool isHovered) {
  const QVariantAnimation* const fade = fadeOf(widget);
  const bool isOnTheWay = fade != nullptr && fade->state() == QAbstractAnimation::Running;
  return isOnTheWay ? fade->currentValue().toDouble() : double(isHovered);
}

bool HoverFade::eventFilter(QObject* watched, QEvent* event) {
  const bool comes = event->type() == QEvent::Enter;
  if (!comes && event->type() != QEvent::Leave) return QObject::eventFilter(watched, event);
  auto* const widget = qobject_cast<QWidget*>(watched);
  const int time = tokens::motion(tokens::hoverTime);
  if (widget == nullptr || !widget->isEnabled() || time == 0) return false;
  QVariantAnimation* fade = fadeOf(*widget);
  if (fade == nullptr) {
    fade = new QVariantAnimation(widget);
    fade->setObjectName(QStringLiteral("hoverFade"));
    connect(fade, &QVariantAnimation::valueChanged, widget, [widget] { widget->update(); });
    connect(fade, &QAbstractAnimation::finished, widget, [widget] { widget->update(); });
  }
  const double from = hoverPart(*widget, !comes);
  fade->stop();
  fade->setStartValue(from);
  fade->setEndValue(double(comes));
  fade->setDuration(comes ? time : time * 2 / 3);
  fade->setEasingCurve(comes ? QEasingCurve::OutCubic : QEasingCurve::InCubic);
  fade->start();
  return false;
}

}  // namespace vantorel
