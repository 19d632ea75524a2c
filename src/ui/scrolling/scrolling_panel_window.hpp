#pragma once

#include <QAbstractButton>
#include <functional>
#include <memory>
#include <optional>

#include "app/scrolling_panel.hpp"
#include "ui/kit/floating_surface.hpp"
#include "ui/kit/input_grab.hpp"

namespace vantorel {

/// A dark bar with the height so far, what is seen, Cancel and Done; above them the growing picture
/// where there is room for it. It has the keys from a click on it, or from being asked to take
/// them, to a press elsewhere or Escape, which leaves the capture as it is. Lives on the main
/// thread.
class ScrollingPanelWindow final : public FloatingSurface {
 public:
  struct Actions {
    std::function<void()> done;
    std::function<void()> cancel;
    std::function<void()> resized;  ///< the letters have another size, so it needs another place
  };

  ScrollingPanelWindow(std::shared_ptr<NativeWindows> native, Actions actions);
  ~ScrollingPanelWindow() override;

  /// Of the panel. Both keep their size whatever is told.
  [[nodiscard]] QSize sizeAlone() const;
  [[nodiscard]] QSize sizeWithPreview() const;

  void place(const QRect& panel, bool hasPreview);
  void setProgress(const ScrollingProgress& progress);

  void takeKeys();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  class Button;
  class Status;

  void arrange();
  void giveKeysBack();
  void setCurrent(Button* button);
  void pressCurrent();
  [[nodiscard]] QRect barRect() const;
  [[nodiscard]] QRect previewRect() const;
  void paintPreview(QPainter& painter) const;
  void tell();

  ScrollingProgress progress_;
  Actions actions_;
  Status* status_;
  Button* cancel_;
  Button* done_;
  Button* current_ = nullptr;  ///< the one that Return presses, while it has the keys
  bool hasPreview_ = false;
  InputGrab grab_;
  Observation presses_;
};

}  // namespace vantorel
