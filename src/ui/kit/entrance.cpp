#include "ui/kit/entrance.hpp"

#include <QEasingCurve>
#include <utility>

#include "ui/kit/tokens.hpp"

namespace vantorel {

Entrance::Entrance(int time, std::function<void()> moved) : time_(time), moved_(std::move(moved)) {
  QObject::connect(&motion_, &QVariantAnimation::valueChanged, &motion_,
                   [this](const QVariant& value) { move(value.toDouble()); });
}

void Entrance::move(double part) {
  part_ = part;
  if (moved_) moved_();
}

void Entrance::jump(bool isIn) {
  motion_.stop();
  goal_ = isIn ? 1 : 0;
  move(goal_);
}

void Entrance::go(double goal) {
  if (goal_ == goal) return;
  const int time = tokens::motion(time_);
  if (time == 0) return jump(goal == 1);
  motion_.stop();
  goal_ = goal;
  motion_.setStartValue(part_);
  motion_.setEndValue(goal);
  motion_.setDuration(goal == 1 ? time : time * 2 / 3);
  motion_.setEasingCurve(goal == 1 ? QEasingCurve::OutCubic : QEasingCurve::InCubic);
  motion_.start();
}

}  // namespace vantorel
