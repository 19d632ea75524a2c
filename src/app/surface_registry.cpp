#include "app/surface_registry.hpp"

namespace vantorel {

void WindowSlot::show(const std::function<std::shared_ptr<Surface>()>& open) {
  if (!window_) window_ = open();
  if (window_) window_->bringForward();
}

}  // namespace vantorel
