#include "platform/testing/fake_frame_streams.hpp"

#include <algorithm>

namespace vantorel {

/// What a stream and the frames on their way to its listener share.
struct FakeFrameStreams::Source {
  FrameListener listener;
  bool isRunning = true;
};

class FakeFrameStreams::Stream final : public FrameStream {
 public:
  Stream(FakeFrameStreams& owner, std::shared_ptr<Source> source, CaptureTarget target)
      : owner_(owner),
        source_(std::move(source)),
        size_(owner.size),
        scale_(owner.scale),
        leavesOutOwnWindows_(owner.leavesOutOwnWindows),
        target_(std::move(target)) {}
  ~Stream() override { source_->isRunning = false; }

  [[nodiscard]] PixelSize size() const override { return size_; }
  [[nodiscard]] double scale() const override { return scale_; }
  [[nodiscard]] CaptureTarget target() const override { return target_; }
  [[nodiscard]] bool leavesOutOwnWindows() const override { return leavesOutOwnWindows_; }
  void stop(Task stopped) override {
    source_->isRunning = false;
    // Behind the frames that are on their way.
    auto told = [main = owner_.main_, stopped = std::move(stopped)]() mutable {
      main->post(std::move(stopped));
    };
    owner_.answer([runner = source_->listener.runner, told = std::move(told),
                   isSilent = owner_.stopsSilently]() mutable {
      if (!isSilent) runner->post(std::move(told));
    });
  }

 private:
  FakeFrameStreams& owner_;
  std::shared_ptr<Source> source_;
  PixelSize size_;
  double scale_;
  bool leavesOutOwnWindows_;
  CaptureTarget target_;
};

void FakeFrameStreams::answer(Task task) {
  if (isSilent) {
    held_.push_back(std::move(task));
  } else {
    main_->post(std::move(task));
  }
}

void FakeFrameStreams::answerAll() {
  isSilent = false;
  for (; !held_.empty(); held_.pop_front()) main_->post(std::move(held_.front()));
}

int FakeFrameStreams::running() const {
  return static_cast<int>(std::ranges::count_if(sources_, [](const auto& weak) {
    const auto source = weak.lock();
    return source && source->isRunning;
  }));
}

void FakeFrameStreams::push(const Image& image) {
  Frame frame;
  frame.image = image;
  frame.damage = {{0, 0, image.width(), image.height()}};
  frame.targetSize = size;
  frame.scale = scale;
  frame.time = clock_.monotonic();
  frame.dropped = lostFrames;
  push(frame);
}

void FakeFrameStreams::push(const Frame& frame) {
  for (const auto& weak : sources_) {
    const auto source = weak.lock();
    if (!source || !source->isRunning) continue;
    source->listener.runner->post([source, frame] { source->listener.frame(frame); });
  }
}

void FakeFrameStreams::end(const Failure& why) {
  for (const auto& weak : sources_) {
    const auto source = weak.lock();
    if (!source || !std::exchange(source->isRunning, false)) continue;
    main_->post([source, why] { source->listener.ended(why); });
  }
}

void FakeFrameStreams::start(
    FrameStreamRequest request, FrameListener listener,
    std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) {
  requests.push_back(request);
  answer([this, request = std::move(request), listener = std::move(listener),
          reply = std::move(reply)]() mutable {
    if (startFails) return reply(std::unexpected(*startFails));
    auto source = std::make_shared<Source>(std::move(listener));
    sources_.push_back(source);
    reply(std::make_unique<Stream>(*this, std::move(source), std::move(request.target)));
  });
}

}  // namespace vantorel
