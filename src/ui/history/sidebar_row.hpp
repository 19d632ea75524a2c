#pragma once

#include <QAbstractButton>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/history_model.hpp"
#include "ui/kit/icons.hpp"

namespace vantorel {

/// One line of History's sidebar. A collection takes captures that are dropped on it, and is
/// dragged to another place among the others.
class SidebarRow : public QAbstractButton {
 public:
  explicit SidebarRow(QWidget* parent = nullptr);

  void show(const HistorySidebarRow& row);
  [[nodiscard]] const HistorySidebarRow& row() const { return row_; }
  [[nodiscard]] QRect labelArea() const;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  std::function<void(const std::vector<std::string>& captures)> onDrop;
  std::function<void(const std::string& collectionID)> onCollectionDropped;
  std::function<void(const QPoint& global)> onMenu;
  std::function<void()> onRename;
  std::function<void()> onRemove;
  std::function<void(int)> onStep;  ///< Up and Down
  std::function<void(int)> onMove;  ///< a collection, so many places down

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  enum class Target { none, captures, collection };

  HistorySidebarRow row_;
  QPoint pressed_;
  Target target_ = Target::none;
};

}  // namespace vantorel
