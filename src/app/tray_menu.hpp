#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/app_coordinator.hpp"
#include "app/status_menu.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"

namespace vantorel {

/// What the tray's menu says, from the commands, the settings and the library, and that it has
/// changed. Lives on the main runner.
class TrayMenu {
 public:
  TrayMenu(AppCoordinator& app, std::shared_ptr<TaskRunner> main, StatusItem& item);

  /// Follows everything that the menu is made of, from now on.
  void follow();

  /// Has the icon shown as things are now, and its menu read anew.
  void update();

  /// The menu as it is now.
  [[nodiscard]] std::vector<StatusMenuItem> lines();

 private:
  [[nodiscard]] StatusMenuItem line(std::string_view command);
  [[nodiscard]] std::vector<StatusMenuItem> scrollingLines();
  [[nodiscard]] StatusMenuItem moreCaptures();
  [[nodiscard]] StatusMenuItem captureDelay();
  [[nodiscard]] StatusMenuItem open();
  [[nodiscard]] StatusMenuItem fileIntoCollection();
  [[nodiscard]] StatusMenuItem copyRecentCapture();
  [[nodiscard]] StatusMenuItem undoRecentDelete();
  [[nodiscard]] StatusMark mark() const;
  void updateSoon();
  void countUndoDown();

  AppCoordinator& app_;
  std::shared_ptr<TaskRunner> main_;
  StatusItem& item_;
  Observation settingsObservation_;
  Observation libraryObservation_;
  Observation undoObservation_;
  Lifetime update_;
  Lifetime undoCount_;
  Lifetime lifetime_;
};

}  // namespace vantorel
