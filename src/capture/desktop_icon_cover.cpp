#include "capture/desktop_icon_cover.hpp"

#include <utility>

namespace vantorel {

DesktopIconCover::Hold::~Hold() {
  if (!cover_) return;
  if (cover_->holds_ == 1) cover_->windows_->hide();
  cover_->change(-1);
}

DesktopIconCover::Hold DesktopIconCover::hold(const std::shared_ptr<DesktopIconCover>& cover,
                                              std::function<void()> ready) {
  cover->change(1);
  // A second holder waits for the paint as well: the first may have asked only a moment ago.
  cover->windows_->show(std::move(ready));
  return Hold(cover);
}

void DesktopIconCover::change(int by) {
  holds_ += by;
  if (listener_) listener_(holds_);
}

}  // namespace vantorel
