#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/alerts.hpp"

namespace vantorel {

/// Keeps what a user would see; the test presses the buttons. One thread.
class FakeAlerts final : public Alerts {
 public:
  std::optional<Alert> shown;
  int timesForward = 0;
  std::vector<std::string> notices;    ///< "title: body"
  std::vector<std::string> withdrawn;  ///< titles
  std::function<void()> told;          ///< what was told last is on the screen

  /// Presses the button of that label on the dialog that is up; false when there is none.
  bool press(const std::string& label) {
    if (!shown) return false;
    for (std::size_t i = 0; i < shown->buttons.size(); ++i) {
      if (shown->buttons[i].label != label) continue;
      shown.reset();
      std::exchange(answered_, nullptr)(i);
      return true;
    }
    return false;
  }

  AlertID ask(Alert alert, std::function<void(std::size_t)> answered) override {
    shown = std::move(alert);
    answered_ = std::move(answered);
    return ++last_;
  }
  void dismiss(AlertID question) override {
    if (question == last_) shown.reset();
  }
  void bringForward() override { ++timesForward; }
  [[nodiscard]] bool isModalDialogUp() const override { return shown.has_value(); }
  void notify(std::string title, std::string body) override {
    notices.push_back(std::move(title) + ": " + std::move(body));
  }
  void tell(std::string title, std::string body, std::function<void()> isShown) override {
    notify(std::move(title), std::move(body));
    told = std::move(isShown);
  }
  void withdraw(std::string title) override { withdrawn.push_back(std::move(title)); }

 private:
  AlertID last_ = 0;
  std::function<void(std::size_t)> answered_;
};

}  // namespace vantorel
