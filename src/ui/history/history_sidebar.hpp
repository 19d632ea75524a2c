#pragma once

#include <QScrollArea>
#include <functional>
#include <memory>
#include <vector>

#include "app/history_model.hpp"

class QVBoxLayout;

namespace vantorel {

class SidebarRow;

/// What there is to look at: scopes, and the user's collections, which captures are dropped on.
/// Lives on the main thread.
class HistorySidebar : public QScrollArea {
 public:
  explicit HistorySidebar(std::shared_ptr<HistoryModel> model, QWidget* parent = nullptr);

  /// Takes up what the model has changed.
  void refresh();

  /// Makes a collection, has its name written and answers its id; nothing when it could not be
  /// made.
  std::optional<std::string> addCollection();

  /// Has a collection's name written. `then` is called when a key has ended that.
  void rename(const std::string& collectionID, std::function<void()> then = {});

  /// After a row was chosen.
  std::function<void()> onChosen;

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void paintGround();
  void showMenu(const std::string& collectionID, const QPoint& at);
  void drop(const std::string& target, const std::vector<std::string>& captures);
  void reorder(const std::string& moved, const std::string& before);
  void move(std::string collectionID, int places);
  [[nodiscard]] std::pair<std::ptrdiff_t, std::ptrdiff_t> placeOf(
      const std::string& collectionID) const;
  [[nodiscard]] SidebarRow* rowOf(const std::string& collectionID) const;

  std::shared_ptr<HistoryModel> model_;
  QWidget* inside_;
  QVBoxLayout* scopes_;
  QVBoxLayout* collections_;
  std::vector<SidebarRow*> rows_;
};

}  // namespace vantorel
