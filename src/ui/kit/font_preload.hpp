#pragma once

#include <QThread>
#include <memory>

namespace vantorel {

/// Has the toolkit read which fonts the system has, and the desktop's own, before the first window
/// waits for it: that takes longer than everything else in it. Lives on the main runner; when it
/// goes it waits for a read that is under way, some hundredths of a second.
class FontPreload {
 public:
  FontPreload() = default;
  FontPreload(const FontPreload&) = delete;
  FontPreload& operator=(const FontPreload&) = delete;
  ~FontPreload();

  /// Begins once the event loop has nothing else to do. Once a run is enough.
  void start();

 private:
  std::unique_ptr<QThread> thread_;
};

}  // namespace vantorel
