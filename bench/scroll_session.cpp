// Joins the frames of a part of the screen until its input ends, writes the tall picture and tells
// what that took. Commands on the input, a line each: "state" answers with what is there so far.
// "--pairs" writes each frame's verdict to the error output, "--dump FOLDER" every frame as a PNG.

#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "platform/image_codec.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/linux/loop_runner.hpp"
#include "platform/linux/serial_queues.hpp"
#include "platform/linux/x11_frame_streams.hpp"
#include "platform/linux/x_authority.hpp"
#include "scrolling/scrolling_canvas.hpp"

namespace {

using namespace vantorel;

struct Arguments {
  std::string display;
  PixelRect rect{0, 0, 1280, 800};
  std::string output;
  std::string dump;
  double rate = 60;
  bool isVerbose = false;
  bool joins = true;
};

const char* nameOf(ScrollingSight sight) {
  switch (sight) {
    case ScrollingSight::waiting: return "waiting";
    case ScrollingSight::joined: return "joined";
    case ScrollingSight::tooFast: return "tooFast";
    case ScrollingSight::panes: return "panes";
    case ScrollingSight::nothing: return "nothing";
    case ScrollingSight::full: return "full";
    case ScrollingSight::scaleChanged: return "scaleChanged";
  }
  return "";
}

double processorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void write(const std::string& path, const Image& image) {
  const auto bytes = LinuxImageCodec().encode(image, {.format = ExportFormat::png});
  if (!bytes) {
    fmt::print(stderr, "{}: {}\n", path, bytes.error().reason);
    std::exit(1);
  }
  std::ofstream(path, std::ios::binary) << *bytes;
}

/// What the frames came to. On the queue of the frames.
class Session {
 public:
  explicit Session(const Arguments& arguments) : arguments_(arguments) {}

  void add(const Frame& frame) {
    const auto start = clock_.monotonic();
    latest_ = std::max(latest_, start - frame.time);
    if (frames_ == 0) first_ = frame.time;
    last_ = frame.time;
    dropped_ = frame.dropped;
    if (!arguments_.dump.empty()) dump(frame.image);
    ++frames_;
    if (!arguments_.joins) return;
    const ScrollFrame scrolled{.image = frame.image,
                               .displayTime = std::chrono::duration<double>(frame.time).count()};
    step_ = canvas_.add(scrolled, {.display = frame.scale});
    ++sights_[nameOf(step_.sight)];
    spent_ += clock_.monotonic() - start;
    if (arguments_.isVerbose) {
      fmt::print(stderr, "{:5} {:9.3f} s {:<8} height {} position {} {:.1f} ms\n", frames_ - 1,
                 std::chrono::duration<double>(frame.time - first_).count(), nameOf(step_.sight),
                 step_.height, step_.position,
                 std::chrono::duration<double, std::milli>(clock_.monotonic() - start).count());
    }
  }

  void tell() const {
    std::string sights;
    for (const auto& [name, count] : sights_) {
      sights += fmt::format("{}\"{}\": {}", sights.empty() ? "" : ", ", name, count);
    }
    fmt::print(
        "{{\"frames\": {}, \"dropped\": {}, \"sights\": {{{}}}, \"sight\": \"{}\", \"height\": {}, "
        "\"position\": {}, \"seconds\": {:.3f}, \"join_ms\": {:.3f}, \"latest_ms\": {:.1f}, "
        "\"processor\": {:.3f}}}\n",
        frames_, dropped_, sights, nameOf(step_.sight), step_.height, step_.position,
        std::chrono::duration<double>(last_ - first_).count(),
        frames_ == 0 ? 0.0 : std::chrono::duration<double, std::milli>(spent_).count() / frames_,
        std::chrono::duration<double, std::milli>(latest_).count(), processorSeconds(RUSAGE_SELF));
    std::fflush(stdout);
  }

  void finish() {
    tell();
    for (int number = 0; number < frames_ && !arguments_.dump.empty(); ++number) {
      const std::string raw = dumpPath(number, "raw");
      MutableImage image(size_, PixelFormat::bgrx);
      std::ifstream file(raw, std::ios::binary);
      for (int y = 0; y < size_.height; ++y) {
        const auto row = image.row(y);
        file.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(row.size()));
      }
      write(dumpPath(number, "png"), std::move(image).finish());
      std::filesystem::remove(raw);
    }
    if (!arguments_.output.empty()) write(arguments_.output, canvas_.finish());
  }

 private:
  [[nodiscard]] std::string dumpPath(int number, std::string_view extension) const {
    return fmt::format("{}/{:05}.{}", arguments_.dump, number, extension);
  }

  /// As it is: compressing it now would hold frames up.
  void dump(const Image& image) {
    size_ = image.size();
    std::ofstream file(dumpPath(frames_, "raw"), std::ios::binary);
    for (int y = 0; y < image.height(); ++y) {
      const auto row = image.row(y);
      file.write(reinterpret_cast<const char*>(row.data()),
                 static_cast<std::streamsize>(row.size()));
    }
  }

  const Arguments& arguments_;
  PixelSize size_;
  LinuxClock clock_;
  ScrollingCanvas canvas_;
  ScrollingCanvas::Step step_;
  std::map<std::string, int> sights_;
  int frames_ = 0;
  std::uint64_t dropped_ = 0;
  std::chrono::nanoseconds first_{};
  std::chrono::nanoseconds last_{};
  std::chrono::nanoseconds spent_{};
  std::chrono::nanoseconds latest_{};  // the longest wait of a frame
};

[[noreturn]] void usage() {
  fmt::print(stderr,
             "scroll_session --display :N [--rect X,Y,W,H] [--rate FPS] [--output PNG] "
             "[--dump FOLDER] [--pairs] [--frames-only]\n");
  std::exit(2);
}

PixelRect rectOf(std::string_view text) {
  std::array<int, 4> numbers{};
  for (int& number : numbers) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) usage();
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.starts_with(',')) text.remove_prefix(1);
  }
  return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

Arguments parse(int count, char** values) {
  Arguments arguments;
  for (int i = 1; i < count; ++i) {
    const std::string_view name = values[i];
    const auto value = [&]() -> std::string {
      if (++i >= count) usage();
      return values[i];
    };
    if (name == "--display")
      arguments.display = value();
    else if (name == "--rect")
      arguments.rect = rectOf(value());
    else if (name == "--rate")
      arguments.rate = std::stod(value());
    else if (name == "--output")
      arguments.output = value();
    else if (name == "--dump")
      arguments.dump = value();
    else if (name == "--pairs")
      arguments.isVerbose = true;
    else if (name == "--frames-only")
      arguments.joins = false;
    else
      usage();
  }
  if (arguments.display.empty()) usage();
  return arguments;
}

}  // namespace

int main(int count, char** values) {
  const Arguments arguments = parse(count, values);
  nameXAuthority();
  LoopRunner loop;
  const auto main = loop.runner();
  SerialQueues queues(1);
  const auto frames = queues.queue("frames");
  Session session(arguments);
  X11FrameStreams streams(arguments.display, main);
  std::unique_ptr<FrameStream> stream;
  int status = 0;
  const auto fail = [&](const Failure& why) {
    fmt::print(stderr, "scroll_session: {}\n", why.reason);
    status = 1;
    loop.quit();
  };
  const PixelRect& rect = arguments.rect;
  // Pixels are points at the scale of 1 that a private display has; at others the caller divides.
  streams.start(
      {.target = RegionTarget{"screen",
                              {static_cast<double>(rect.x), static_cast<double>(rect.y),
                               static_cast<double>(rect.width), static_cast<double>(rect.height)}},
       .framesPerSecond = arguments.rate},
      {.frame = [&](const Frame& frame) { session.add(frame); }, .runner = frames, .ended = fail},
      [&](Result<std::unique_ptr<FrameStream>> started) {
        if (!started) return fail(started.error());
        stream = *std::move(started);
        fmt::print("{{\"width\": {}, \"height\": {}}}\n", stream->size().width,
                   stream->size().height);
        std::fflush(stdout);
      });
  std::jthread input([&] {
    for (std::string line; std::getline(std::cin, line);) {
      frames->post([&] { session.tell(); });
    }
    main->post([&] {
      if (!stream) return loop.quit();
      stream->stop([&] {
        frames->post([&] {
          session.finish();
          loop.quit();
        });
      });
    });
  });
  loop.run();
  stream.reset();
  queues.stop();
  if (status != 0) std::_Exit(status);  // the input may never end
  return 0;
}
