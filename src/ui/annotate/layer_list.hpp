#pragma once

#include <QHash>
#include <QPixmap>
#include <QSet>
#include <QWidget>
#include <optional>
#include <string>
#include <vector>

#include "ui/annotate/inspected_editor.hpp"
#include "ui/annotate/layer_row.hpp"

class QMenu;
class QVBoxLayout;

namespace vantorel {

/// The layers, front on top: selected, named, hidden, locked, and dragged or stepped to another
/// place. Lives on the main thread.
class LayerList : public QWidget {
 public:
  LayerList(InspectedEditor editor, QWidget* parent);

  void refresh();

  /// Whether the pointer has just been pressed on it and is there still: what stands above must not
  /// move it away from below a second click.
  [[nodiscard]] bool isHeld() const { return isHeld_; }
  std::function<void()> onLetGo;

  /// Grid, stacked, side by side.
  void addArrangements(QMenu& menu);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  class InsertionLine;

  [[nodiscard]] EditorModel& model() const { return *editor_.model; }
  [[nodiscard]] std::vector<LayerLine> lines() const;
  void connectRow(LayerRow* row);
  void askForPicture(const LayerSpec& layer, LayerRow* row);
  /// Makes the capture a layer first where it is none, all as one step.
  void change(const LayerRow& row, const std::string& step,
              const std::function<void(const std::string& id)>& change);
  bool keyPressed(LayerRow* row, int key, Qt::KeyboardModifiers modifiers);
  void focusRow(std::size_t index);
  void step(const LayerRow& row, int rowsDown);
  void moveTo(const std::string& id, std::size_t row);
  void rename(LayerRow* row);
  void openMenu(LayerRow* row, const QPoint& global);
  void drag(const LayerRow* row, const QPoint& global);
  void drop();
  void cancelDrag();
  void letGo();
  [[nodiscard]] std::size_t indexOf(const LayerRow* row) const;

  InspectedEditor editor_;
  QVBoxLayout* column_;
  std::vector<LayerRow*> rows_;
  InsertionLine* insertion_;
  struct Drag {
    std::string id;
    std::size_t gap = 0;  // before which row it goes
  };
  std::optional<Drag> drag_;
  bool isHeld_ = false;
  QHash<QString, QPixmap> pictures_;
  QSet<QString> asked_;
};

}  // namespace vantorel
