#pragma once

#include <QAbstractButton>
#include <QPixmap>
#include <functional>
#include <string>

namespace vantorel {

/// What one line of the layer list shows.
struct LayerLine {
  std::string id;  ///< empty for a capture that is no layer yet
  QString name;
  QString fault;  ///< why it cannot be shown; empty when it can
  bool isVisible = true;
  bool isLocked = false;
  bool isSelected = false;

  bool operator==(const LayerLine&) const = default;
};

/// One layer of the list: grip, picture, name, lock and eye. A list item to screen readers. Lives
/// on the main thread.
class LayerRow : public QAbstractButton {
 public:
  explicit LayerRow(QWidget* parent);

  void show(const LayerLine& line);
  [[nodiscard]] const LayerLine& line() const { return line_; }
  void setPicture(const QPixmap& picture);

  /// Where the name is changed in its place.
  [[nodiscard]] QRect nameArea() const;

  [[nodiscard]] QSize sizeHint() const override;

  std::function<void()> onVisible;
  std::function<void()> onLocked;
  std::function<void()> onRename;
  std::function<void(const QPoint& global)> onMenu;
  std::function<bool(int key, Qt::KeyboardModifiers modifiers)> onKey;  ///< whether it was taken
  std::function<void(const QPoint& global)> onDragged;
  std::function<void()> onDropped;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  class Toggle;

  void place();
  [[nodiscard]] QRect placed(const QRect& area) const;

  LayerLine line_;
  QPixmap picture_;
  Toggle* lock_;
  Toggle* eye_;
  QPoint pressed_;
  bool isDragged_ = false;
};

}  // namespace vantorel
