#pragma once

#include <functional>
#include <memory>

#include "app/app_window.hpp"
#include "app/surface_registry.hpp"

namespace vantorel {

class AnnotateModel;
class PinModel;

/// Makes the program's windows. Lives on the main runner.
class AppWindows {
 public:
  virtual ~AppWindows() = default;

  /// A new window, not shown yet; null when it cannot be made. `closed` is called once, in the
  /// window's own event, when it was closed: it must not let go of it there.
  [[nodiscard]] virtual std::shared_ptr<Surface> open(AppWindow window,
                                                      std::function<void()> closed) = 0;

  /// Likewise a window on one of several: an editor, and a picture that floats above all windows.
  [[nodiscard]] virtual std::shared_ptr<Surface> openAnnotate(std::shared_ptr<AnnotateModel> model,
                                                              std::function<void()> closed) = 0;
  [[nodiscard]] virtual std::shared_ptr<Surface> openPin(std::shared_ptr<PinModel> model,
                                                         std::function<void()> closed) = 0;
};

}  // namespace vantorel
