#include "ui/kit/input_grab.hpp"

#include <utility>

namespace vantorel {

InputGrab::InputGrab(std::shared_ptr<NativeWindows> native, Wants wants,
                     std::function<void(Missing)> gaveUp)
    : native_(std::move(native)), wants_(wants) {
  again_.setInterval(20);
  again_.callOnTimeout([this] { ask(); });
  patience_.setInterval(1000);
  patience_.setSingleShot(true);
  patience_.callOnTimeout([this, gaveUp = std::move(gaveUp)] {
    const Missing missing = hasKeyboard_ ? Missing::pointer : Missing::keyboard;
    release();
    gaveUp(missing);  // this object may go
  });
}

void InputGrab::take(QWindow& window) {
  release();
  if (!native_->needsGrabs()) return;
  window_ = &window;
  ask();
}

void InputGrab::release() {
  again_.stop();
  patience_.stop();
  if (window_ != nullptr) {
    window_->setKeyboardGrabEnabled(false);
    if (wants_ == Wants::keyboardAndPointer) window_->setMouseGrabEnabled(false);
  }
  window_ = nullptr;
  hasKeyboard_ = hasPointer_ = false;
}

void InputGrab::ask() {
  if (!hasKeyboard_) hasKeyboard_ = window_->setKeyboardGrabEnabled(true);
  if (!hasPointer_) {
    hasPointer_ = wants_ == Wants::keyboard || window_->setMouseGrabEnabled(true);
  }
  if (hasKeyboard_ && hasPointer_) {
    again_.stop();
    patience_.stop();
    return;
  }
  if (!again_.isActive()) again_.start();
  if (native_->isAnythingPressed()) {
    patience_.stop();
  } else if (!patience_.isActive()) {
    patience_.start();
  }
}

}  // namespace vantorel
