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
/// Lives on the main thread.
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

  void showFirst();
  void answered(std::size_t button);

  AlertID last_ = 0;
  std::map<std::string, AlertID> told_;  ///< the last of each title
  std::deque<Waiting> waiting_;          ///< the first one is shown
  struct DeleteLater {
    void operator()(QMessageBox* box) const;
  };
  std::unique_ptr<QMessageBox, DeleteLater> box_;
};

}  // namespace vantorel
