#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vantorel {

struct AlertButton {
  std::string label;
  bool isDefault = false;  ///< has the focus at first, so that Return presses it
  bool isCancel = false;   ///< answers to Escape and to the window's close button
};

struct Alert {
  enum class Style { informational, warning };
  Style style = Style::informational;
  std::string message;
  std::string informative;
  std::vector<AlertButton> buttons;  ///< at least one; without a cancelling one the default cancels
  bool takesFocus = true;            ///< false for what the user did not just ask for

  /// The button that Escape and the window's close button answer with.
  [[nodiscard]] std::size_t cancelButton() const;
};

/// Names a question from being asked until it is answered.
using AlertID = std::uint64_t;

/// Dialogs that wait for the user, and messages that do not. Lives on the main runner.
class Alerts {
 public:
  virtual ~Alerts() = default;

  /// Shows a modal dialog and answers with the index of the button pressed; without a display, with
  /// the index of the last button. One at a time: a second one waits for the first.
  virtual AlertID ask(Alert alert, std::function<void(std::size_t button)> answered) = 0;

  /// Takes a question back that no longer needs an answer, whether it is shown or waits; the
  /// callback is not called. Nothing happens when it was answered.
  virtual void dismiss(AlertID question) = 0;

  [[nodiscard]] virtual bool isModalDialogUp() const = 0;

  /// Shows the dialog that is up before all other windows: something waits for its answer.
  virtual void bringForward() = 0;

  /// A passing message (a desktop notification), in place of the one of the same title before it.
  /// Never blocks; lost when nobody shows such messages, for the log has it too.
  virtual void notify(std::string title, std::string body) = 0;

  /// Shows what must not be lost: as a passing message, and where nobody shows such, as a dialog
  /// without the focus. `shown` is called once one of them is on the screen.
  virtual void tell(std::string title, std::string body, std::function<void()> shown) = 0;

  /// Takes the message of that title back, if there is one: it no longer holds.
  virtual void withdraw(std::string title) = 0;
};

}  // namespace vantorel
