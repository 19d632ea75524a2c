#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "platform/frame_stream.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/x11_frame_ground.hpp"
#include "platform/linux/x11_frame_pointer.hpp"
#include "platform/linux/x11_session.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// Where a stream's frames go. Shared by its thread and the main runner.
class X11FrameOutlet : public std::enable_shared_from_this<X11FrameOutlet> {
 public:
  X11FrameOutlet(std::shared_ptr<TaskRunner> main, FrameListener listener)
      : main_(std::move(main)), listener_(std::move(listener)) {}

  /// From any thread.
  void deliver(Frame frame);
  /// Once at most, and not when it was closed before. From any thread.
  void end(Failure why);
  /// The end is of no interest any more. On the main runner.
  void close() { isClosed_ = true; }
  /// Calls `stopped` on the main runner behind all frames delivered so far. From any thread.
  void flush(Task stopped);

 private:
  std::shared_ptr<TaskRunner> main_;
  FrameListener listener_;
  std::atomic<bool> hasEnded_ = false;
  std::atomic<bool> isClosed_ = false;
};

/// One stream's end of a connection of its own: takes a frame when damage is told of, and no
/// sooner than the rate allows. Sleeps while nothing changes. Lives on the worker's thread.
class X11FrameSource final : public X11Client {
 public:
  struct Facts {
    PixelSize size;
    double scale = 1;
    CaptureTarget target;
    bool leavesOutOwnWindows = false;
  };

  [[nodiscard]] static X11Worker::MakeClient maker(std::shared_ptr<X11FrameOutlet> outlet);
  ~X11FrameSource() override;

  /// The first frame comes at once afterwards. `wake` has `eventsHandled` called.
  [[nodiscard]] Result<Facts> begin(const FrameStreamRequest& request, std::function<void()> wake);
  /// Nothing is delivered any more.
  void stop() { ground_.reset(); }

  void handle(const xcb_generic_event_t& event) override { session_->handle(event); }
  void eventsHandled() override;
  [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> wakesAt() const override;

 private:
  X11FrameSource(std::unique_ptr<X11Session> session, std::shared_ptr<X11FrameOutlet> outlet);

  void note(const xcb_generic_event_t& event);
  void handleArrived();
  void watch();
  void collectChanges();
  void addChange(const PixelRect& change);
  [[nodiscard]] bool isFrameDue() const;
  void takeFrame();
  [[nodiscard]] Result<bool> draw(Frame& frame);
  [[nodiscard]] bool followPointer();
  [[nodiscard]] PixelRect whole() const { return {0, 0, size_.width, size_.height}; }
  void end(Failure why);

  std::unique_ptr<X11Session> session_;
  std::shared_ptr<X11FrameOutlet> outlet_;
  LinuxClock clock_;
  bool showsPointer_ = false;
  bool followsPointer_ = false;
  std::chrono::nanoseconds interval_{};
  std::unique_ptr<X11FrameGround> ground_;  // null: no frames are taken
  std::optional<X11FramePointer> pointer_;
  std::optional<X11FramePictures> pictures_;
  PixelSize size_;
  PixelSize targetSize_;  // as the last frame told
  double scale_ = 1;      // likewise
  xcb_window_t watched_ = XCB_NONE;
  std::uint32_t damage_ = 0;
  std::uint32_t region_ = 0;        // 0: the server cannot tell which parts changed
  bool isDamaged_ = false;          // since the changes were collected last
  std::vector<PixelRect> changes_;  // since the last frame, within it
  std::uint64_t dropped_ = 0;
  FrameCursor cursor_;
  Image lastImage_;  // of a stream that follows the pointer
  std::chrono::steady_clock::time_point next_;
};

}  // namespace vantorel
