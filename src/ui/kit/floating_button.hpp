#pragma once

#include <QAbstractButton>
#include <QString>

#include "ui/kit/icons.hpp"

namespace vantorel {

/// A symbol on a dark surface. Lives on the main thread.
class FloatingButton : public QAbstractButton {
 public:
  /// `key` is what does the same.
  FloatingButton(IconName symbol, const QString& name, const QString& key, QWidget* parent);

  /// With a reason it cannot be pressed, and says why instead of its name.
  void setObstacle(const QString& reason);

  /// What it says of itself: its name and key, or why it cannot be pressed.
  [[nodiscard]] QString label() const { return obstacle_.isEmpty() ? name_ : obstacle_; }
  [[nodiscard]] QString key() const { return obstacle_.isEmpty() ? key_ : QString(); }
  [[nodiscard]] bool isPossible() const { return obstacle_.isEmpty(); }

  /// The one that Return presses.
  void setCurrent(bool isCurrent);
  /// On a dark disk, where it stands alone over a picture.
  void setRound(bool isRound) { isRound_ = isRound; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  IconName symbol_;
  QString name_;
  QString key_;
  QString obstacle_;
  bool isCurrent_ = false;
  bool isRound_ = false;
};

}  // namespace vantorel
