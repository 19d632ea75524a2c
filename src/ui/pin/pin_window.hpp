#pragma once

#include <QImage>
#include <QPoint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "app/pin_model.hpp"
#include "app/surface_registry.hpp"
#include "ui/kit/floating_button.hpp"
#include "ui/kit/floating_surface.hpp"
#include "ui/kit/input_grab.hpp"

class QMenu;

namespace vantorel {

/// The window of one pin: its picture with a line and a shadow round it, above all windows and on
/// every desktop. It is dragged, scaled with the wheel, and has the keys from a click on it to one
/// elsewhere. Lives on the main thread.
class PinWindow final : public FloatingSurface, public Surface {
 public:
  /// `closed` is told once, and must not let go of it there.
  PinWindow(std::shared_ptr<PinModel> model, std::shared_ptr<NativeWindows> native,
            std::function<void()> closed);

  void bringForward() override;
  void requestClose(std::function<void(bool closed)> done) override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  class Capsule;

  void follow(const PinModel::Change& change);
  void place();
  void showLook();
  void takeKeys();
  void giveKeysBack();
  void passKeysOn();
  void moveWithPointer(QPoint by);
  void keepWithinDisplays();
  void end();
  [[nodiscard]] QSize paintedSize() const;
  [[nodiscard]] QRect seenPart() const;
  void paintPicture(QPainter& painter);
  void paintEdge(QPainter& painter) const;
  void paintSaid(QPainter& painter) const;

  std::shared_ptr<PinModel> model_;
  std::function<void()> closed_;
  Capsule* capsule_;
  QImage scaled_;                  ///< the picture made smaller; null until it is painted so
  std::optional<QPoint> dragged_;  ///< where the pointer was last, on the desktop
  bool wasMoved_ = false;          ///< since the press
  bool hasKeys_ = false;
  InputGrab grab_;
  Observation presses_;
  Observation observation_;
};

}  // namespace vantorel
