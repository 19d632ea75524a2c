#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/frame_stream.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// Streams of an X11 desktop. Each has a thread and a connection of its own, so that nothing else
/// waits for it; a server that never answers leaves the reply out. A region that shares a display
/// with the program's own windows may overlap them: they are not in the frames.
class X11FrameStreams final : public FrameStreams {
 public:
  /// `display` such as ":0".
  X11FrameStreams(std::string display, std::shared_ptr<TaskRunner> main)
      : display_(std::move(display)), main_(std::move(main)) {}

  void start(FrameStreamRequest request, FrameListener listener,
             std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) override;

 private:
  std::string display_;
  std::shared_ptr<TaskRunner> main_;
  std::map<int, std::shared_ptr<X11Worker>> starting_;
  int lastStart_ = 0;
  Lifetime lifetime_;
};

}  // namespace vantorel
