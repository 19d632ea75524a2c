#include "ui/kit/memory_at_rest.hpp"

#include <malloc.h>

#include <QApplication>
#include <QEvent>
#include <QPixmapCache>
#include <QWidget>
#include <algorithm>
#include <chrono>

namespace vantorel {
namespace {

/// Windows come and go in a row, and what they showed goes a moment after them.
constexpr std::chrono::seconds restBegins{3};

}  // namespace

MemoryAtRest::MemoryAtRest() {
  pause_.setSingleShot(true);
  pause_.setInterval(restBegins);
  connect(&pause_, &QTimer::timeout, this, [] {
    if (std::ranges::any_of(QApplication::topLevelWidgets(), &QWidget::isVisible)) return;
    QPixmapCache::clear();
    (void)::malloc_trim(0);
  });
  qApp->installEventFilter(this);
}

bool MemoryAtRest::eventFilter(QObject* object, QEvent* event) {
  const bool isHidden = event->type() == QEvent::Hide && object->isWidgetType();
  if (isHidden && static_cast<QWidget*>(object)->isWindow()) pause_.start();
  return false;
}

}  // namespace vantorel
