#include "app/surface_registry.hpp"

#include <utility>

namespace vantorel {

void WindowSlot::show(const std::function<std::shared_ptr<Surface>()>& open) {
  if (!window_) window_ = open();
  if (window_) window_->bringForward();
}

WindowSlot& SurfaceRegistry::slot(AppWindow window) {
  switch (window) {
    case AppWindow::history: return history;
    case AppWindow::settings: return settings;
    case AppWindow::help: return help;
    case AppWindow::welcome: return welcome;
  }
  std::unreachable();
}

}  // namespace vantorel
