#include "ui/kit/qt_runner.hpp"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <QTimerEvent>
#include <map>
#include <utility>

namespace vantorel {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Carries a task to the main thread. One without a due time is run on arrival.
class TaskEvent : public QEvent {
 public:
  TaskEvent(Task carried, SteadyClock::time_point dueTime)
      : QEvent(type()), task(std::move(carried)), due(dueTime) {}

  static Type type() {
    static const int number = registerEventType();
    return static_cast<Type>(number);
  }

  Task task;
  SteadyClock::time_point due;
};

}  // namespace

class QtRunner::Receiver : public QObject {
 public:
  bool event(QEvent* event) override {
    if (event->type() != TaskEvent::type()) return QObject::event(event);
    auto* const arrived = static_cast<TaskEvent*>(event);
    if (arrived->due <= SteadyClock::now()) {
      arrived->task();
    } else {
      wait({std::move(arrived->task), arrived->due});
    }
    return true;
  }

 protected:
  void timerEvent(QTimerEvent* event) override {
    killTimer(event->timerId());
    auto node = waiting_.extract(event->timerId());
    if (node.empty()) return;
    if (node.mapped().due > SteadyClock::now()) {
      wait(std::move(node.mapped()));
    } else {
      node.mapped().task();
    }
  }

 private:
  struct Waiting {
    Task task;
    SteadyClock::time_point due;
  };

  void wait(Waiting task) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(task.due - SteadyClock::now());
    waiting_.emplace(startTimer(std::max(rest, std::chrono::milliseconds(0)), Qt::PreciseTimer),
                     std::move(task));
  }

  std::map<int, Waiting> waiting_;
};

QtRunner::QtRunner() : receiver_(std::make_unique<Receiver>()) {}

QtRunner::~QtRunner() {
  // Timers may only be stopped on their own thread.
  if (!isCurrent()) receiver_.release()->deleteLater();
}

void QtRunner::post(Task task) {
  QCoreApplication::postEvent(receiver_.get(), new TaskEvent(std::move(task), {}));
}

void QtRunner::postAfter(std::chrono::nanoseconds delay, Task task) {
  QCoreApplication::postEvent(receiver_.get(),
                              new TaskEvent(std::move(task), SteadyClock::now() + delay));
}

bool QtRunner::isCurrent() const { return QThread::currentThread() == receiver_->thread(); }

}  // namespace vantorel
