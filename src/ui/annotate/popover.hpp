#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

namespace vantorel {

/// A small panel beside what opened it, which goes with Esc, keeping what was done in it, and with
/// presses outside and keys that mean nothing to it, which the window gets. The
/// keyboard goes back to where it was. Deletes itself. Lives on the main thread.
class Popover : public QWidget {
 public:
  /// `title` is what screen readers call it. It goes with the window of `anchor`.
  Popover(const QString& title, QWidget* anchor);
  ~Popover() override;

  /// Shows it by the anchor, where the screen has room, and beside all of `strip`, where the anchor
  /// is one of several that stay in sight.
  void open(const QWidget* strip = nullptr);

  std::function<void()> onClosed;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void hideEvent(QHideEvent* event) override;

  [[nodiscard]] QWidget* anchor() const { return anchor_; }

  /// Goes, and lets the window have the key that means nothing here.
  void leaveTo(QKeyEvent& event);

 private:
  QWidget* anchor_;
  QPointer<QWidget> keyboard_;  // who had it
};

}  // namespace vantorel
