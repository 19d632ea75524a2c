#pragma once

#include <QElapsedTimer>
#include <QPointF>

#include "ui/card/card_layout.hpp"

namespace vantorel {

/// How the pointer moves from a press on, and so what it does: see `card_layout::gestureOf`.
class CardPress {
 public:
  void begin(QPointF at) {
    start_ = last_ = at;
    velocity_ = {};
    lastTime_ = 0;
    time_.start();
  }

  [[nodiscard]] card_layout::Gesture move(QPointF to, bool isLeft) {
    const qint64 time = time_.elapsed();
    if (time > lastTime_) {
      velocity_ = (to - last_) * 1000.0 / double(time - lastTime_);
      last_ = to;
      lastTime_ = time;
    }
    return card_layout::gestureOf(to - start_, velocity_, isLeft);
  }

 private:
  QPointF start_;
  QPointF last_;
  QPointF velocity_;  ///< px a second
  qint64 lastTime_ = 0;
  QElapsedTimer time_;
};

}  // namespace vantorel
