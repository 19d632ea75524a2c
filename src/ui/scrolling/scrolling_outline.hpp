#pragma once

#include <memory>
#include <vector>

#include "base/geometry.hpp"
#include "platform/native_windows.hpp"

class QRasterWindow;

namespace vantorel {

/// A thin frame round what is captured, outside of it. It has no side where the area ends at the
/// desktop's edge, and takes no focus and no clicks. Lives on the main thread.
class ScrollingOutline {
 public:
  explicit ScrollingOutline(std::shared_ptr<NativeWindows> native);
  ~ScrollingOutline();

  /// `area` in device pixels of the desktop; an empty one has no frame.
  void show(const PixelRect& area);
  void hide();

 private:
  std::shared_ptr<NativeWindows> native_;
  std::vector<std::unique_ptr<QRasterWindow>> sides_;
};

}  // namespace vantorel
