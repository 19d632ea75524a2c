#pragma once

#include <QVariantAnimation>
#include <functional>

namespace vantorel {

/// How far something has come into its place, and gone again: from 0, away, to 1, in place. At once
/// where the desktop wants no animations. Lives on the main thread.
class Entrance {
 public:
  /// `time` in milliseconds, one of `tokens`; `moved` is called after each step.
  Entrance(int time, std::function<void()> moved);

  void enter() { go(1); }
  void leave() { go(0); }

  /// Without a way between.
  void jump(bool isIn);

  [[nodiscard]] double part() const { return part_; }
  [[nodiscard]] bool isAway() const { return part_ == 0 && goal_ == 0; }

 private:
  void go(double goal);
  void move(double part);

  int time_;
  std::function<void()> moved_;
  double part_ = 0;
  double goal_ = 0;
  QVariantAnimation motion_;
};

}  // namespace vantorel
