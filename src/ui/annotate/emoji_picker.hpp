#pragma once

#include <QFont>
#include <QString>
#include <vector>

#include "editor/editor_model.hpp"
#include "ui/annotate/emoji_table.hpp"
#include "ui/annotate/popover.hpp"

class QButtonGroup;
class QLabel;
class QLineEdit;
class QListView;

namespace vantorel {

/// All emoji, by group and by name, those used lately first. Lives on the main thread.
class EmojiPicker : public Popover {
 public:
  /// Shows it by `anchor`, which may stand in a `strip`. What is picked becomes what the emoji tool
  /// stamps, and what the selected stamps show.
  static void open(EditorModel& model, QWidget* anchor, const QWidget* strip = nullptr);

  /// The font that has them in colors, where the desktop has one.
  [[nodiscard]] static QFont fontOf(int pixels);

  /// What an emoji is called; empty for others.
  [[nodiscard]] static QString nameOf(const QString& emoji) { return emojiName(emoji); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  class List;

  EmojiPicker(EditorModel& model, QWidget* anchor);
  void showGroup(int index);
  void search(const QString& query);
  void pick(const QModelIndex& index);

  EditorModel& model_;
  QLineEdit* query_;
  QButtonGroup* groups_;
  QListView* grid_;
  List* list_;
  QLabel* name_;
  int shownGroup_ = 0;
};

}  // namespace vantorel
