#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/clock.hpp"
#include "platform/frame_stream.hpp"

namespace vantorel {

/// Streams whose frames the test makes. It can refuse, and it can stay silent until told to answer.
/// One thread: that of the runners of the test.
class FakeFrameStreams final : public FrameStreams {
 public:
  FakeFrameStreams(std::shared_ptr<TaskRunner> main, const Clock& clock)
      : main_(std::move(main)), clock_(clock) {}

  PixelSize size{400, 300};  ///< of the targets, also of those that are streamed now
  double scale = 1;          ///< likewise
  bool leavesOutOwnWindows = true;
  std::optional<Failure> startFails;
  bool isSilent = false;         ///< neither a start nor a stop is answered
  bool stopsSilently = false;    ///< a stop alone is not answered
  std::uint64_t lostFrames = 0;  ///< as the frames tell
  std::vector<FrameStreamRequest> requests;

  /// Gives the answers held back while silent.
  void answerAll();

  /// Of streams that neither were stopped nor ended nor are gone.
  [[nodiscard]] int running() const;

  /// Hands `image` to every running stream. It is damaged everywhere, at this moment.
  void push(const Image& image);
  /// The same with all that a frame may carry.
  void push(const Frame& frame);

  /// All running streams end by themselves.
  void end(const Failure& why);

  void start(FrameStreamRequest request, FrameListener listener,
             std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) override;

 private:
  struct Source;
  class Stream;

  void answer(Task task);

  std::shared_ptr<TaskRunner> main_;
  const Clock& clock_;
  std::vector<std::weak_ptr<Source>> sources_;
  std::deque<Task> held_;
};

}  // namespace vantorel
