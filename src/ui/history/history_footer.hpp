#pragma once

#include <QString>
#include <QWidget>
#include <memory>
#include <vector>

#include "app/history_model.hpp"

class QLabel;
class QProgressBar;
class QToolButton;

namespace vantorel {

class HistoryCommands;
class RoleLabel;

/// Below the captures: how many there are and what goes next, or what can be done with those that
/// are selected. Lives on the main thread.
class HistoryFooter : public QWidget {
 public:
  HistoryFooter(std::shared_ptr<HistoryModel> model, HistoryCommands& commands,
                QWidget* parent = nullptr);

  /// Takes up what the model has changed.
  void refresh();

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return {100, sizeHint().height()}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QToolButton* addButton(QAction* action);
  void showFilingMenu();
  void showRest();
  void arrange();

  std::shared_ptr<HistoryModel> model_;
  HistoryCommands& commands_;
  QWidget* summaryRow_;
  RoleLabel* summary_;
  QLabel* filingLabel_;
  QToolButton* filing_;
  QWidget* progressRow_;
  QLabel* progressText_;
  QProgressBar* progress_;
  QWidget* selectionRow_;
  QLabel* selected_;
  QLabel* size_;
  QString said_;
  QToolButton* more_;
  std::vector<QToolButton*> buttons_;
};

}  // namespace vantorel
