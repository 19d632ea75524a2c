#pragma once

#include <QObject>
#include <QTimer>

namespace vantorel {

/// Gives memory back to the system once the last window on the screen has gone: the toolkit's
/// pictures of symbols, and what the allocator keeps between pieces that are still in use. Does
/// nothing otherwise; wakes nobody at rest. Lives on the main thread.
class MemoryAtRest : public QObject {
 public:
  MemoryAtRest();

  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  QTimer pause_;
};

}  // namespace vantorel
