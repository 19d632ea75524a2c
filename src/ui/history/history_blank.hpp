#pragma once

#include <QBasicTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/history_model.hpp"

class QLabel;
class QPushButton;

namespace vantorel {

/// What stands where captures would, with what can be done about it. Lives on the main thread.
class HistoryBlankPage : public QWidget {
 public:
  explicit HistoryBlankPage(std::shared_ptr<HistoryModel> model, QWidget* parent = nullptr);

  void show(const HistoryBlank& blank);

  /// The search field and the filters are to be emptied or widened.
  std::function<void()> onSearchEverything;
  std::function<void()> onClear;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void paintLoading();
  std::shared_ptr<HistoryModel> model_;
  QLabel* symbol_;
  QLabel* title_;
  QLabel* text_;
  QPushButton* first_;
  QPushButton* second_;
  HistoryBlank::Kind kind_ = HistoryBlank::Kind::loading;
  QString loading_;
  QBasicTimer delay_;  ///< what is there at once needs not say that it comes
  bool isLoadingShown_ = false;
};

}  // namespace vantorel
