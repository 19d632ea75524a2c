#pragma once

#include <functional>
#include <memory>

#include "ui/kit/floating_surface.hpp"

namespace vantorel {

/// "2 more": the cards that have no room. Lives on the main thread.
class CardCapsule : public FloatingSurface {
 public:
  CardCapsule(std::shared_ptr<NativeWindows> native, std::function<void()> clicked);

  void setCount(int count);

  /// What the words for that many take.
  [[nodiscard]] static int wantedWidth(int count);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void enterEvent(QEnterEvent*) override { update(); }
  void leaveEvent(QEvent*) override { update(); }

 private:
  std::function<void()> clicked_;
  int count_ = 0;
};

}  // namespace vantorel
