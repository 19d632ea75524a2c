#pragma once

#include <memory>

#include "capture/capture_surfaces.hpp"
#include "platform/clipboard.hpp"

class QObject;

namespace vantorel {

/// The selection overlay: one borderless window over each display, past the window manager, which
/// holds pointer and keyboard while it is up. A right click and a change of the displays cancel as
/// Escape does. Lives on the main thread.
class QtSelectionOverlay : public SelectionOverlay {
 public:
  QtSelectionOverlay();
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

  std::shared_ptr<Session> session_;
  std::function<void(Answer)> chosen_;
  Clipboard* clipboard_ = nullptr;
  std::unique_ptr<QObject> reply_;  ///< context of an answer under way
};

}  // namespace vantorel
