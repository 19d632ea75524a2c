#include "platform/linux/x11_frame_streams.hpp"

#include <utility>

#include "platform/linux/x11_frame_source.hpp"

namespace vantorel {
namespace {

class X11FrameStream final : public FrameStream {
 public:
  X11FrameStream(std::shared_ptr<X11Worker> worker, std::shared_ptr<X11FrameOutlet> outlet,
                 X11FrameSource::Facts facts)
      : worker_(std::move(worker)), outlet_(std::move(outlet)), facts_(std::move(facts)) {}
  X11FrameStream(const X11FrameStream&) = delete;
  X11FrameStream& operator=(const X11FrameStream&) = delete;
  ~X11FrameStream() override { outlet_->close(); }

  [[nodiscard]] PixelSize size() const override { return facts_.size; }
  [[nodiscard]] double scale() const override { return facts_.scale; }
  [[nodiscard]] CaptureTarget target() const override { return facts_.target; }
  [[nodiscard]] bool leavesOutOwnWindows() const override { return facts_.leavesOutOwnWindows; }

  void stop(Task stopped) override {
    outlet_->close();
    worker_->post(
        [outlet = outlet_, stopped = std::move(stopped)](const Result<X11Client*>& client) mutable {
          if (client) static_cast<X11FrameSource&>(**client).stop();
          outlet->flush(std::move(stopped));
        });
  }

 private:
  std::shared_ptr<X11Worker> worker_;
  std::shared_ptr<X11FrameOutlet> outlet_;
  X11FrameSource::Facts facts_;
};

}  // namespace

void X11FrameStreams::start(
    FrameStreamRequest request, FrameListener listener,
    std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) {
  auto outlet = std::make_shared<X11FrameOutlet>(main_, std::move(listener));
  auto worker = std::make_shared<X11Worker>(display_, X11FrameSource::maker(outlet));
  const int number = ++lastStart_;
  starting_[number] = worker;
  auto answer = lifetime_.guard([this, number, outlet, reply = std::move(reply)](
                                    Result<X11FrameSource::Facts> facts) mutable {
    auto started = starting_.extract(number);
    if (!facts) return reply(std::unexpected(std::move(facts).error()));
    reply(std::make_unique<X11FrameStream>(std::move(started.mapped()), outlet, *std::move(facts)));
  });
  worker->post([main = main_, wake = worker->waker(), request = std::move(request),
                answer = std::move(answer)](Result<X11Client*> client) mutable {
    auto facts = client ? static_cast<X11FrameSource&>(**client).begin(request, std::move(wake))
                        : Result<X11FrameSource::Facts>(std::unexpected(std::move(client).error()));
    main->post([answer = std::move(answer), facts = std::move(facts)]() mutable {
      answer(std::move(facts));
    });
  });
}

}  // namespace vantorel
