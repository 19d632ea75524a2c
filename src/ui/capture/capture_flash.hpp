#pragma once

#include <QTimer>
#include <memory>
#include <vector>

#include "base/geometry.hpp"
#include "platform/native_windows.hpp"

class QRasterWindow;

namespace vantorel {

/// A frame around what was captured, for a quarter of a second: it tells that it worked, and what
/// was taken. It stands still and needs no compositor. Lives on the main thread.
class CaptureFlash {
 public:
  explicit CaptureFlash(std::shared_ptr<NativeWindows> native);
  ~CaptureFlash();

  /// `area` in device pixels of the desktop.
  void show(const PixelRect& area);

 private:
  std::shared_ptr<NativeWindows> native_;
  std::vector<std::unique_ptr<QRasterWindow>> sides_;
  QTimer end_;
};

}  // namespace vantorel
