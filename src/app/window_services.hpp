#pragma once

#include <functional>
#include <memory>

#include "app/app_window.hpp"
#include "app/help_model.hpp"
#include "app/history_model.hpp"
#include "app/settings_model.hpp"
#include "app/welcome_model.hpp"
#include "app/window_places.hpp"

namespace vantorel {

/// What the program's windows are made of: each model is made when its window opens and goes with
/// it. Used on the main runner.
struct WindowServices {
  std::function<std::shared_ptr<HistoryModel>()> history;
  std::function<std::shared_ptr<SettingsModel>()> settings;
  std::function<std::shared_ptr<HelpModel>()> help;
  std::function<std::shared_ptr<WelcomeModel>()> welcome;

  std::shared_ptr<WindowPlaces> places;
  std::function<void(AppWindow)> show;  ///< another window
  std::function<void()> quit;
};

}  // namespace vantorel
