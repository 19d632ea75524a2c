#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "editor/records/tool.hpp"

class QButtonGroup;
class QToolButton;

namespace vantorel {

/// The tools beside the canvas, of which one is on: in one column, or in two where there is no
/// height for one. Lives on the main thread.
class ToolRail : public QWidget {
 public:
  explicit ToolRail(QWidget* parent);

  void show(Tool tool);

  /// How wide it is at this height, px: in two columns where there is no room for one.
  [[nodiscard]] static int widthFor(int height);

  /// Gives itself the width for this height.
  void setRoom(int height);

  [[nodiscard]] QToolButton* buttonOf(Tool tool) const;
  [[nodiscard]] QSize sizeHint() const override;

  std::function<void(Tool tool)> onPicked;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  enum class Layout { roomy, tight, twoColumns };
  [[nodiscard]] static Layout layoutFor(int height);
  void arrange();

  QButtonGroup* group_;
  std::vector<QToolButton*> buttons_;  // in toolbar order
  std::vector<int> separators_;        // px from the top
  Layout layout_ = Layout::roomy;
};

}  // namespace vantorel
