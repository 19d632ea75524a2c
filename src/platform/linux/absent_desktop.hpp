#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/clipboard.hpp"
#include "platform/frame_stream.hpp"
#include "platform/hot_keys.hpp"
#include "platform/native_windows.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// A capture service that cannot do anything and says why.
class AbsentScreenCapture : public ScreenCapture {
 public:
  AbsentScreenCapture(std::shared_ptr<TaskRunner> main, Failure why)
      : main_(std::move(main)), why_(std::move(why)) {}

  void displays(Reply<std::vector<DisplaySnapshot>> reply) override { refuse(std::move(reply)); }
  void grab(GrabRequest, Reply<GrabbedPicture> reply) override { refuse(std::move(reply)); }
  void onDisplaysChange(std::function<void()>) override {}

  /// Granted: no dialog would help, and the attempt tells the reason.
  void permission(std::move_only_function<void(ScreenPermission)> reply) override;
  void requestPermission(std::move_only_function<void(ScreenPermission)> reply) override;
  [[nodiscard]] bool isSystemDialogVisible() const override { return false; }

 private:
  template <class Value>
  void refuse(Reply<Value> reply) {
    main_->post(lifetime_.guard([reply = std::move(reply), why = why_]() mutable {
      reply(std::unexpected(std::move(why)));
    }));
  }

  std::shared_ptr<TaskRunner> main_;
  Failure why_;
  Lifetime lifetime_;
};

class AbsentFrameStreams final : public FrameStreams {
 public:
  AbsentFrameStreams(std::shared_ptr<TaskRunner> main, Failure why)
      : main_(std::move(main)), why_(std::move(why)) {}

  void start(FrameStreamRequest request, FrameListener listener,
             std::move_only_function<void(Result<std::unique_ptr<FrameStream>>)> reply) override;

 private:
  std::shared_ptr<TaskRunner> main_;
  Failure why_;
  Lifetime lifetime_;
};

class AbsentWindowList final : public WindowList {
 public:
  AbsentWindowList(std::shared_ptr<TaskRunner> main, Failure why)
      : main_(std::move(main)), why_(std::move(why)) {}

  void windows(std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) override;

 private:
  std::shared_ptr<TaskRunner> main_;
  Failure why_;
  Lifetime lifetime_;
};

class AbsentHotKeys final : public HotKeys {
 public:
  explicit AbsentHotKeys(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

  [[nodiscard]] bool areAvailable() const override { return false; }
  [[nodiscard]] std::unique_ptr<HotKeyRegistration> registerKey(
      const HotKeySpec& spec, std::function<void()> onFire, std::function<void()> onRelease,
      std::function<void(State)> onState) override;

 private:
  std::shared_ptr<TaskRunner> main_;
};

class AbsentClipboard final : public Clipboard {
 public:
  using Done = std::move_only_function<void(Result<void>)>;

  void setImage(std::string, Done done) override {
    done(failed(FailureKind::unsupported, clipboard_refusal::image));
  }
  void setText(std::string, Done done) override {
    done(failed(FailureKind::unsupported, clipboard_refusal::text));
  }
  void setShapes(std::string, Done done) override {
    done(failed(FailureKind::unsupported, clipboard_refusal::shapes));
  }
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

class AbsentNativeWindows final : public NativeWindows {
 public:
  explicit AbsentNativeWindows(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

  void floatAboveAll(WindowID, FloatingInput) override {}
  void setInputArea(WindowID, const PixelRect&) override {}
  void coverDisplay(WindowID, PixelPoint) override {}
  void uncoverDisplay(WindowID) override {}
  [[nodiscard]] bool paint(WindowID, const std::vector<PixelRect>&, const PaintBand&) override {
    return false;
  }
  void coverDesktop(WindowID) override {}
  [[nodiscard]] bool needsGrabs() const override { return false; }
  [[nodiscard]] bool canBeTransparent() const override { return false; }
  [[nodiscard]] bool hasEmbeddingTray() const override { return false; }
  [[nodiscard]] bool isAnythingPressed() const override { return false; }
  [[nodiscard]] Observation observePresses(std::function<void(WindowID)>) override { return {}; }
  [[nodiscard]] DesktopLook look() const override { return {}; }
  [[nodiscard]] Observation observeLook(std::function<void(const DesktopLook&)>) override {
    return {};
  }
  [[nodiscard]] std::uint32_t plainSymbol(std::uint32_t) const override { return 0; }
  [[nodiscard]] std::optional<PixelPoint> pointer() const override { return std::nullopt; }
  void movePointer(PixelPoint) override {}
  [[nodiscard]] Image wallpaper() const override { return {}; }
  void sync() override {}
  void whenShown(Task then) override { main_->post(std::move(then)); }

 private:
  std::shared_ptr<TaskRunner> main_;
};

/// Captures of a Wayland desktop. The compositor gives pixels only through its own portal, which
/// this program does not speak yet: every request is answered with that sentence.
class WaylandScreenCapture final : public AbsentScreenCapture {
 public:
  explicit WaylandScreenCapture(std::shared_ptr<TaskRunner> main)
      : AbsentScreenCapture(std::move(main), reason()) {}

  [[nodiscard]] static Failure reason();
};

}  // namespace vantorel
