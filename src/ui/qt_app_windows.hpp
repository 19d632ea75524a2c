#pragma once

#include "app/app_windows.hpp"
#include "app/window_services.hpp"

namespace vantorel {

/// The windows made of the toolkit's. Each stands in the one list of the source file.
class QtAppWindows final : public AppWindows {
 public:
  /// Before the first window.
  void setServices(WindowServices services) { services_ = std::move(services); }

  [[nodiscard]] std::shared_ptr<Surface> open(AppWindow window,
                                              std::function<void()> closed) override;

 private:
  WindowServices services_;
};

}  // namespace vantorel
