#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>

#include "platform/alerts.hpp"

class QMessageBox;

namespace vantorel {

/// Dialogs with a message and buttons, one after the other. Return presses the button with the
/// focus, at first the default one; Escape and the close button answer with the cancelling one.
/// What is only told stands beside them, and steps aside while a window asks something. Lives on
/// the main thread.
class AlertDialogs : public Alerts {
 public:
  AlertDialogs();
  ~AlertDialogs() override;

  AlertID ask(Alert alert, std::function<void(std::size_t button)> answered) override;
  void dismiss(AlertID question) override;
  void bringForward() override;
  [[nodiscard]] bool isModalDialogUp() const override { return !waiting_.empty(); }
  void notify(std::string title, std::string body) override;
  void tell(std::string title, std::string body, std::function<void()> shown) override;
  void withdraw(std::string title) override;

 private:
  struct Waiting {
    AlertID id = 0;
    Alert alert;
    std::function<void(std::size_t)> answered;
  };

  class Watch;
  struct DeleteLater {
    void operator()(QMessageBox* box) const;
  };
  using Box = std::unique_ptr<QMessageBox, DeleteLater>;

  void showFirst();
  void showTold();
  void answered(std::size_t button);

  AlertID last_ = 0;
  std::deque<Waiting> waiting_;      ///< the first one is shown
  std::map<std::string, Box> told_;  ///< the last of each title
  std::unique_ptr<Watch> watch_;     ///< while something is told
  Box box_;
};

}  // namespace vantorel
