#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/image.hpp"
#include "base/pixel_point.hpp"
#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "capture/records/capture_target.hpp"

namespace vantorel {

/// The pointer at a frame's moment.
struct FrameCursor {
  bool isVisible = false;    ///< false also where it is outside of the target
  PixelPoint position;       ///< of its hot spot, from the frame's corner
  PixelPoint hotSpot;        ///< in the picture
  Image picture;             ///< with alpha, in pixels of the frame
  std::uint64_t serial = 0;  ///< another one for another picture
};

struct Frame {
  Image image;  ///< opaque, of the stream's size; the one before when only the cursor has changed
  std::vector<PixelRect> damage;  ///< holds all that changed since the frame before; may overlap
  FrameCursor cursor;    ///< of streams that follow it
  PixelSize targetSize;  ///< of the target then; not the image's once a window was resized
  double scale = 1;      ///< pixels per point then; not the stream's once the desktop's has changed
  std::chrono::nanoseconds time{};  ///< when the pixels were so, on `Clock::monotonic`
  std::uint64_t dropped = 0;        ///< frames lost so far, as whoever gets them held all pictures
};

/// A stream has this many pictures. Each is drawn anew once every copy of its `Image` is gone.
inline constexpr int framePictures = 8;

struct FrameStreamRequest {
  CaptureTarget target;
  double framesPerSecond = 60;             ///< at most; above 0
  bool showsPointer = false;               ///< it is painted into the frames
  bool followsPointer = false;             ///< frames tell of it, and come when it alone changes
  std::vector<WindowID> keptOwnWindowIDs;  ///< as in `GrabRequest`
};

/// It stops when destroyed; a frame on its way may still come. Lives on the main runner.
class FrameStream {
 public:
  virtual ~FrameStream() = default;

  /// Of every frame. A window that grows is cut off, one that shrinks leaves black. While a window
  /// is minimized, no frames come.
  [[nodiscard]] virtual PixelSize size() const = 0;
  [[nodiscard]] virtual double scale() const = 0;          ///< pixels per point at the start
  [[nodiscard]] virtual CaptureTarget target() const = 0;  ///< the desktop's own choice resolved
  /// False where the desktop cannot keep this program's own windows out of the frames.
  [[nodiscard]] virtual bool leavesOutOwnWindows() const = 0;
  /// `stopped` is called after the last frame, or never: callers bound the wait.
  virtual void stop(Task stopped) = 0;
};

struct FrameListener {
  /// Called on `runner` soon after the start, then when pixels or the cursor have changed.
  std::move_only_function<void(Frame)> frame;
  std::shared_ptr<TaskRunner> runner;
  /// Called on the main runner when the stream ends by itself: `notFound` (the target is gone or
  /// the displays changed), `denied` (the user ended it), `unreachable` (no display server).
  std::move_only_function<void(Failure)> ended;
};

/// Streams of what is on the screen. Lives on the main runner.
class FrameStreams {
 public:
  virtual ~FrameStreams() = default;

  /// Answers later on the main runner, when a dialog of the desktop has been, or never. The
  /// failures are those of `ScreenCapture`.
  virtual void start(FrameStreamRequest request, FrameListener listener,
                     std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) = 0;
};

}  // namespace vantorel
