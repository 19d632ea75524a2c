#pragma once

#include <QAction>
#include <QList>
#include <QObject>
#include <functional>
#include <memory>

#include "app/history_model.hpp"
#include "ui/kit/icons.hpp"

class QKeyEvent;
class QMenu;

namespace vantorel {

/// What can be done with captures, each once: with its key, its words, and why it cannot be done
/// now. Bars and menus show these. Lives on the main thread.
class HistoryCommands : public QObject {
 public:
  HistoryCommands(std::shared_ptr<HistoryModel> model, QWidget* window);

  /// Takes up what can be done now.
  void refresh();

  QAction* open;  ///< "Annotate" for pictures
  QAction* pin;
  QAction* copyPicture;
  QAction* copyPath;
  QAction* copyText;
  QAction* saveAs;
  QAction* star;
  QAction* collect;
  QAction* rename;
  QAction* convert;
  QAction* compress;
  QAction* removeRedaction;
  QAction* reapplyRedaction;
  QAction* reveal;
  QAction* trash;
  QAction* remove;

  /// Opens what is selected, or says why that can't be.
  void openOrExplain();

  std::function<void()> onRename;

  /// Where the menu of a key opens, on the screen: at what is selected.
  std::function<QPoint()> menuPlace;

  /// Makes a collection and puts what is selected into it.
  std::function<void()> onNewCollection;

  /// The key of something that is off now: says why. False when it is none.
  bool explain(const QKeyEvent& press);

  /// All of them, for a right click.
  void fill(QMenu& menu);

  /// The menu of collections, and of formats.
  void showCollections(const QPoint& at);
  [[nodiscard]] QMenu* menuOf(const QAction* action) const;

 private:
  QAction* add(HistoryAction action, const QString& label, IconName symbol, const QKeySequence& key,
               std::function<void()> run);
  void openSubjects();
  void askWhereToSave();
  void popUp(QMenu& menu);
  void fillCollections(QMenu& menu);
  void fillFormats(QMenu& menu);

  struct Row {
    HistoryAction what;
    QAction* action;
    QString label;
  };
  std::shared_ptr<HistoryModel> model_;
  QWidget* window_;
  QList<Row> rows_;
  std::unique_ptr<QMenu> collectMenu_;
  std::unique_ptr<QMenu> convertMenu_;
};

}  // namespace vantorel
