#pragma once

#include <QPointer>
#include <QTimer>
#include <QWindow>
#include <functional>
#include <memory>

#include "platform/native_windows.hpp"

namespace vantorel {

/// All of the keyboard for one window, and of the pointer where that is wanted, on displays where
/// it takes grabs. The key or the menu that began it holds them until it is let go: they are asked
/// for until they come. Lives on the main thread.
class InputGrab {
 public:
  enum class Wants { keyboard, keyboardAndPointer };
  enum class Missing { keyboard, pointer };

  /// `gaveUp` is called, later, when somebody holds them for a second with no key and no button
  /// down, and so will not let go.
  InputGrab(std::shared_ptr<NativeWindows> native, Wants wants,
            std::function<void(Missing)> gaveUp);
  ~InputGrab() { release(); }
  InputGrab(const InputGrab&) = delete;
  InputGrab& operator=(const InputGrab&) = delete;

  /// The window is shown, and not gone before `release`.
  void take(QWindow& window);
  void release();

 private:
  void ask();

  std::shared_ptr<NativeWindows> native_;
  Wants wants_;
  QPointer<QWindow> window_;
  QTimer again_;
  QTimer patience_;
  bool hasKeyboard_ = false;
  bool hasPointer_ = false;
};

}  // namespace vantorel
