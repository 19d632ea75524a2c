#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace vantorel {

/// Turns while something works, from `tokens::busyDelay` after it began; shows nothing before and
/// needs no timer while nobody sees it. Lives on the main thread.
class BusyRing : public QWidget {
 public:
  explicit BusyRing(QWidget* parent = nullptr);

  void setBusy(bool isBusy);
  [[nodiscard]] bool isBusy() const { return isBusy_; }
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void begin();

  QBasicTimer timer_;
  bool isBusy_ = false;
  bool isTurning_ = false;
  int angle_ = 0;  ///< degrees
};

}  // namespace vantorel
