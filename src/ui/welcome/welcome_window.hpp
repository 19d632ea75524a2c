#pragma once

#include <functional>
#include <memory>

#include "app/welcome_model.hpp"
#include "ui/kit/window_frame.hpp"

class QPushButton;

namespace vantorel {

class KeyCaps;
class RoleLabel;
class ToggleSwitch;

/// The window of the first start. Closed in any way, it does not come again. Lives on the main
/// thread.
class WelcomeWindow : public WindowFrame {
 public:
  WelcomeWindow(std::shared_ptr<WelcomeModel> model, std::function<void()> onClosed);
  ~WelcomeWindow() override;

 protected:
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QWidget* makeRows();
  QWidget* makeButtons();
  void chooseFolder();
  void showState();

  std::shared_ptr<WelcomeModel> model_;
  KeyCaps* key_ = nullptr;
  RoleLabel* keyWords_ = nullptr;
  RoleLabel* folder_ = nullptr;
  RoleLabel* folderRemark_ = nullptr;
  RoleLabel* sessionWords_ = nullptr;
  ToggleSwitch* session_ = nullptr;
  Observation showing_;
  Observation observation_;
};

}  // namespace vantorel
