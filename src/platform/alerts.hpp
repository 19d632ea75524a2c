#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vantorel {

struct AlertButton {
  std::string label;
  bool isDefault = false;  ///< answers to Return
};

struct Alert {
  enum class Style { informational, warning };
  Style style = Style::informational;
  std::string message;
  std::string informative;
  std::vector<AlertButton> buttons;  ///< at least one
};

/// Dialogs that wait for the user, and messages that do not. Lives on the main runner.
class Alerts {
 public:
  virtual ~Alerts() = default;

  /// Shows a modal dialog and answers with the index of the button pressed; without a display, with
  /// the index of the last button. One at a time: a second one waits for the first.
  virtual void ask(Alert alert, std::function<void(std::size_t button)> answered) = 0;

  /// Takes a dialog down that no longer needs an answer; the callback is not called.
  virtual void dismiss() = 0;

  [[nodiscard]] virtual bool isModalDialogUp() const = 0;

  /// A passing message (a desktop notification). Never blocks; lost when nobody shows such
  /// messages, for the log has it too.
  virtual void notify(std::string title, std::string body) = 0;
};

}  // namespace vantorel
