#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <string>

#include "app/history_model.hpp"

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QToolButton;
class QVBoxLayout;

namespace vantorel {

class HistoryCommands;
class PictureCanvas;

/// One capture over the whole of the History window, with what is known of it. It shows what has
/// the focus, and follows the arrow keys. Lives on the main thread.
class HistoryPreview : public QWidget {
 public:
  HistoryPreview(std::shared_ptr<HistoryModel> model, HistoryCommands& commands, QWidget* parent);

  void open();

  /// Takes up what the model has changed.
  void refresh();

  std::function<void()> onClosed;
  std::function<void()> onOpen;
  std::function<void(const QPoint& global)> onMenu;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void leave();
  void step(HistorySelection::Step step);
  void showHint();
  void showText(const ScreenshotEntry& entry);
  void showDetails(const EntryPointer& entry, std::size_t place);

  std::shared_ptr<HistoryModel> model_;
  HistoryCommands& commands_;
  QLabel* title_;
  QLabel* position_;
  PictureCanvas* canvas_;
  QPlainTextEdit* text_;  ///< of a text, over the canvas
  QToolButton* before_;
  QToolButton* after_;
  QPushButton* open_;
  QWidget* detailsPane_;
  QLabel* hint_;
  QWidget* details_ = nullptr;
  EntryPointer shown_;
  FileReach shownReach_ = FileReach::there;
};

}  // namespace vantorel
