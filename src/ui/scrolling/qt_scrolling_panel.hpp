#pragma once

#include <QObject>
#include <memory>

#include "app/scrolling_panel.hpp"
#include "ui/scrolling/scrolling_outline.hpp"
#include "ui/scrolling/scrolling_panel_window.hpp"

namespace vantorel {

/// The windows of a scrolling capture: the panel in its place and the frame round the area. There
/// are none while there is no such capture. Lives on the main thread.
class QtScrollingPanel final : public ScrollingPanel {
 public:
  explicit QtScrollingPanel(std::shared_ptr<NativeWindows> native);
  ~QtScrollingPanel() override;

  void open(Shown shown) override;
  void show(const ScrollingProgress& progress) override;
  void moveTo(const PixelRect& area) override;
  bool takeKeyboard() override;
  void close() override;

 private:
  void place();

  std::shared_ptr<NativeWindows> native_;
  Shown shown_;
  std::unique_ptr<ScrollingPanelWindow> window_;
  ScrollingOutline outline_;
  std::unique_ptr<QObject> screens_;  ///< hears of displays while it is open
};

}  // namespace vantorel
