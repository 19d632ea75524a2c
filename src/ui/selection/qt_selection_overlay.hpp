#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "capture/capture_surfaces.hpp"
#include "platform/clipboard.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

/// The selection overlay: one borderless window over each display, past the window manager, which
/// holds pointer and keyboard while it is up, or ends when it cannot have them. A right click
/// cancels as Escape does. Lives on the main thread.
class QtSelectionOverlay : public SelectionOverlay {
 public:
  explicit QtSelectionOverlay(std::shared_ptr<NativeWindows> native);
  ~QtSelectionOverlay() override;

  /// For the color under the pointer. Without one it is not copied.
  void setClipboard(Clipboard& clipboard) { clipboard_ = &clipboard; }

  void select(Request request, std::function<void(Answer)> chosen) override;
  void dismiss() override;

 private:
  class Session;
  class Window;

  void takeDown();
  void finish(Answer answer);

  std::shared_ptr<NativeWindows> native_;
  std::shared_ptr<Session> session_;
  std::function<void(Answer)> chosen_;
  Clipboard* clipboard_ = nullptr;
  Lifetime reply_;  ///< of an answer under way
};

}  // namespace vantorel
