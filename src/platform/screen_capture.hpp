#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "capture/records/capture_target.hpp"
#include "capture/records/display_snapshot.hpp"

namespace vantorel {

enum class ScreenPermission {
  granted,
  denied,
  undetermined,          ///< asking will show the desktop's own dialog
  grantedAfterRelaunch,  ///< the desktop applies the grant only to a new process
};

/// One grabbed picture.
struct GrabbedPicture {
  Image image;
  double scale = 1;      ///< pixels per point
  CaptureTarget target;  ///< what was really taken; a desktop's own choice is resolved
};

struct GrabRequest {
  CaptureTarget target;
  bool windowShadow = true;  ///< a window keeps the shadow it draws itself

  /// Windows of this program that belong into the picture (those that hide the desktop's icons).
  /// All its other windows never are.
  std::vector<WindowID> keptOwnWindowIDs;

  bool showsPointer = false;  ///< the pointer is painted where it stands
};

/// The desktop's capture service. Every call returns at once and answers through a callback on the
/// runner the object was made for, or never: callers bound the wait. Lives on that runner.
///
/// Failures: `denied` (no permission, or the user said no), `cancelled` (the user closed the
/// desktop's dialog), `notFound` (the target is gone), `unreachable` (no display server or it went
/// away), `busy` (the window is not on the screen now), `unsupported` (this desktop cannot do it).
class ScreenCapture {
 public:
  virtual ~ScreenCapture() = default;

  template <class Value>
  using Reply = std::move_only_function<void(Result<Value>)>;

  /// The connected displays, the main one marked.
  virtual void displays(Reply<std::vector<DisplaySnapshot>> reply) = 0;

  /// Grabs the pixels of the target as they are now, the program's own windows left out.
  virtual void grab(GrabRequest request, Reply<GrabbedPicture> reply) = 0;

  /// Called on every change of the screen configuration. One listener.
  virtual void onDisplaysChange(std::function<void()> listener) = 0;

  virtual void permission(std::move_only_function<void(ScreenPermission)> reply) = 0;

  /// Asks the user through the desktop; answers when the user did.
  virtual void requestPermission(std::move_only_function<void(ScreenPermission)> reply) = 0;

  /// True while a dialog of the desktop (permission, choice of a target) waits for the user.
  [[nodiscard]] virtual bool isSystemDialogVisible() const = 0;
};

}  // namespace vantorel
