#pragma once

#include <functional>
#include <memory>

#include "app/history_model.hpp"
#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/window_frame.hpp"

namespace vantorel {

class HistoryBar;
class HistoryBlankPage;
class HistoryCommands;
class HistoryFooter;
class HistoryPreview;
class HistorySearchField;
class HistorySidebar;
class HistoryView;
class NoticeBar;
class UndoBar;

/// The user's captures: to find, look at, put in order, hand on and throw away. Lives on the main
/// thread.
class HistoryWindow : public WindowFrame {
 public:
  HistoryWindow(std::shared_ptr<HistoryModel> model, std::function<void()> onClosed);
  ~HistoryWindow() override;

  void addCollection() override;

 protected:
  void leave() override;
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void addKeys();
  void modelChanged(const HistoryModelChange& change);
  void showNotice();
  void arrange();
  void arrangeBars();
  void setDrawer(bool isOpen);
  void showMore(const QPoint& at);
  void toggleSidebar();
  void nextPane(bool isBack);
  void rename();
  void setMode(int mode);
  [[nodiscard]] bool isNarrow() const;

  std::shared_ptr<HistoryModel> model_;
  HistoryCommands* commands_;
  QWidget* content_;
  HistorySidebar* sidebar_;
  HistoryBar* bar_;
  HistorySearchField* search_;
  HistoryView* view_;
  HistoryBlankPage* blank_;
  HistoryFooter* footer_;
  HistoryPreview* preview_;
  UndoBar* undo_;
  NoticeBar* said_;
  bool isSidebarWanted_ = true;
  bool isDrawerOpen_ = false;
  Entrance drawer_{tokens::barTime, [this] { arrange(); }};
  bool isBusy_ = false;
  std::optional<HistoryNotice> shownNotice_;
  std::optional<HistoryNotice> shownState_;
  Observation observation_;
};

}  // namespace vantorel
