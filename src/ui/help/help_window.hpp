#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "app/help_model.hpp"
#include "ui/kit/window_frame.hpp"

class QLineEdit;
class QScrollArea;
class QVBoxLayout;

namespace vantorel {

/// The window that lists every command with its key, and each window's keys; a click runs a
/// command. Lives on the main thread.
class HelpWindow : public WindowFrame {
 public:
  HelpWindow(std::shared_ptr<HelpModel> model, std::function<void()> onClosed);
  ~HelpWindow() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;
  void leave() override;

 private:
  void rebuild();

  std::shared_ptr<HelpModel> model_;
  QLineEdit* search_;
  QScrollArea* scroll_;
  QVBoxLayout* column_;
  Observation observation_;
};

}  // namespace vantorel
