#pragma once

#include <deque>
#include <memory>

#include "platform/alerts.hpp"

class QMessageBox;

namespace vantorel {

/// Dialogs with a message and buttons, one after the other. Only the default button answers to a
/// key (Return); Escape answers for a dialog that has a single button. Lives on the main thread.
class AlertDialogs : public Alerts {
 public:
  AlertDialogs();
  ~AlertDialogs() override;

  void ask(Alert alert, std::function<void(std::size_t button)> answered) override;
  void dismiss() override;
  [[nodiscard]] bool isModalDialogUp() const override { return !waiting_.empty(); }
  void notify(std::string title, std::string body) override;

 private:
  struct Waiting {
    Alert alert;
    std::function<void(std::size_t)> answered;
  };

  void showFirst();
  void answered(std::size_t button);

  std::deque<Waiting> waiting_;  ///< the first one is shown
  struct DeleteLater {
    void operator()(QMessageBox* box) const;
  };
  std::unique_ptr<QMessageBox, DeleteLater> box_;
};

}  // namespace vantorel
