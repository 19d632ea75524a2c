#pragma once

#include <memory>
#include <utility>

#include "app/app_windows.hpp"
#include "app/window_services.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

class WindowFrame;

/// The windows made of the toolkit's. Each stands in the one list of the source file.
class QtAppWindows final : public AppWindows {
 public:
  explicit QtAppWindows(std::shared_ptr<NativeWindows> native) : native_(std::move(native)) {}

  /// Before the first window.
  void setServices(WindowServices services) { services_ = std::move(services); }

  [[nodiscard]] std::shared_ptr<Surface> open(AppWindow window,
                                              std::function<void()> closed) override;
  [[nodiscard]] std::shared_ptr<Surface> openAnnotate(std::shared_ptr<AnnotateModel> model,
                                                      std::function<void()> closed) override;
  [[nodiscard]] std::shared_ptr<Surface> openPin(std::shared_ptr<PinModel> model,
                                                 std::function<void()> closed) override;

 private:
  /// With what every window of the program has.
  void equip(WindowFrame& frame) const;

  std::shared_ptr<NativeWindows> native_;
  WindowServices services_;
};

}  // namespace vantorel
