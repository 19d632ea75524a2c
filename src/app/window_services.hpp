#pragma once

#include <functional>
#include <memory>

#include "app/app_window.hpp"
#include "app/window_places.hpp"

namespace vantorel {

/// What the program's windows are made of: each model is made when its window opens and goes with
/// it. Used on the main runner.
struct WindowServices {
  std::shared_ptr<WindowPlaces> places;
  std::function<void(AppWindow)> show;  ///< another window
  std::function<void()> quit;
};

}  // namespace vantorel
