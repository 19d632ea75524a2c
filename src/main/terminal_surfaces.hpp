#pragma once

#include <cstddef>
#include <functional>

#include "capture/capture_surfaces.hpp"
#include "platform/alerts.hpp"

namespace vantorel {

/// The countdown of a run without windows: seconds on standard error when that is a terminal.
class TerminalCountdown final : public CountdownPanel {
 public:
  void show(int secondsLeft) override;
  void hide(std::function<void()> hidden) override;

 private:
  bool isShown_ = false;
};

/// The dialogs of a run without windows: nobody can answer, so the last button counts, and what
/// would be told goes to the log. The command's own answer carries what matters.
class TerminalAlerts final : public Alerts {
 public:
  void ask(Alert alert, std::function<void(std::size_t)> answered) override;
  void dismiss() override {}
  [[nodiscard]] bool isModalDialogUp() const override { return false; }
  void notify(std::string title, std::string body) override;
};

/// Shows how far a look through the library has come, on standard error; empty when that is no
/// terminal.
[[nodiscard]] std::function<void(std::size_t done, std::size_t total)> showCheckProgress();

/// The same for a move of the library.
[[nodiscard]] std::function<void(std::size_t done, std::size_t total)> showMoveProgress();

}  // namespace vantorel
