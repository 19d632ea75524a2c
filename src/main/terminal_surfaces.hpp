#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>

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
  AlertID ask(Alert alert, std::function<void(std::size_t)> answered) override;
  void dismiss(AlertID) override {}
  void bringForward() override {}
  [[nodiscard]] bool isModalDialogUp() const override { return false; }
  void notify(std::string title, std::string body) override;
  void tell(std::string title, std::string body, std::function<void()> shown) override;
  void withdraw(std::string) override {}
};

/// Shows how far a command has come, in one line of standard error; nothing when that is no
/// terminal. What it waits for, with a `total` of zero, is a line of its own in any case. Any
/// thread.
class TerminalProgress {
 public:
  void show(std::uint64_t done, std::uint64_t total, std::string_view words);

  /// Ends the line, so that what the command says begins a new one.
  void end();

 private:
  std::mutex mutex_;
  bool isInLine_ = false;
};

}  // namespace vantorel
