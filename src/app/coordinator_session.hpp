#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/app_coordinator.hpp"
#include "base/json_record.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_hot_keys.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_screen.hpp"

namespace vantorel {

/// What the tests of the coordinator and of the captures it takes share: one run of the program
/// after the other in one world, with a fake for everything around it.

class FakeCountdown final : public CountdownPanel {
 public:
  std::vector<int> shown;
  bool visible = false;
  void show(int secondsLeft) override {
    shown.push_back(secondsLeft);
    visible = true;
  }
  void hide(std::function<void()> hidden) override {
    visible = false;
    hidden();
  }
};

class FakeOverlay final : public SelectionOverlay {
 public:
  std::optional<Request> request;
  void select(Request asked, std::function<void(Answer)> chosen) override {
    request = std::move(asked);
    chosen_ = std::move(chosen);
  }
  void dismiss() override { request.reset(); }
  void choose(Answer choice) {
    request.reset();
    std::exchange(chosen_, nullptr)(std::move(choice));
  }

 private:
  std::function<void(Answer)> chosen_;
};

class FakeCover final : public DesktopCoverWindows {
 public:
  bool visible = false;
  void show(std::function<void()> painted) override {
    visible = true;
    painted();
  }
  void hide() override { visible = false; }
  [[nodiscard]] std::vector<WindowID> windowIDs() const override {
    return visible ? std::vector<WindowID>{77} : std::vector<WindowID>{};
  }
};

class FakeClipboard final : public Clipboard {
 public:
  int images = 0;
  std::string last;
  std::string lastText;
  bool isSilent = false;
  std::optional<Failure> refuses;
  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override {
    if (isSilent) return;
    if (refuses) return done(std::unexpected(*refuses));
    ++images;
    last = std::move(png);
    done({});
  }
  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override {
    if (isSilent) return;
    if (refuses) return done(std::unexpected(*refuses));
    lastText = std::move(text);
    done({});
  }
  void setShapes(std::string, std::move_only_function<void(Result<void>)>) override {}
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

class FakeStatusItem final : public StatusItem {
 public:
  bool isVisible = false;
  bool hasHost = true;
  int menuChanges = 0;
  StatusMark mark = StatusMark::none;
  void setVisible(bool visible) override { isVisible = visible; }
  void setMenu(std::function<std::vector<StatusMenuItem>()>, std::function<void()>) override {}
  void menuChanged() override { ++menuChanges; }
  void setMark(StatusMark wanted) override { mark = wanted; }
  [[nodiscard]] bool isHosted() const override { return hasHost; }
  Observation observeHost(std::function<void()> changed) override {
    return hosts.add(std::move(changed));
  }
  Observers<> hosts;
};

/// What outlives the program: the disk and the stored settings.
struct CoordinatorWorld {
  FakeFiles files;
  FakeDefaultsStore defaults;
  int launches = 0;
};

/// One run of the program in that world.
class CoordinatorSession : public TestLibrary {
 public:
  explicit CoordinatorSession(CoordinatorWorld& around)
      : TestLibrary({std::shared_ptr<FakeFiles>(), &around.files}), world(around) {
    runners.setNow(FakeRunners::start + 100 * world.launches++);
    screen.connect("LEFT", {800, 600});
    screen.connect("RIGHT", {1000, 800}, 2);
    SettingsValues values;
    values.storageDirectory = "/pictures";
    settings = std::make_unique<SettingsStore>(world.defaults, values);
    const auto pictures = std::shared_ptr<const ImageCodec>(&codec, [](const ImageCodec*) {});
    captures.emplace(StillCaptures::Services{
        .main = runners.main(),
        .staging = runners.runner("staging"),
        .filing = runners.runner("filing"),
        .clock = clock(),
        .files = files,
        .codec = pictures,
        .screen = screen,
        .windows = screen,
        .library = library,
        .settings = *settings,
        .redact =
            [this](const Image& capture, double, auto redacted) {
              looked.push_back(capture.size());
              const auto answer = [this, capture,
                                   done = std::make_shared<decltype(redacted)>(
                                       std::move(redacted))] { (*done)(redaction(capture)); };
              if (!isLooking) return answer();
              looking = answer;
            },
        .defaultCaptures = "/home/captures",
        .hotKeys = &keys,
        .countdown = countdown,
        .desktopCover = cover,
        .overlay = [this] { return &overlay; }});
    copying.emplace(CaptureCopying::Services{
        .main = runners.main(),
        .work = runners.runner("pictures"),
        .files = files,
        .codec = pictures,
        .library = library,
        .alerts = alerts,
        .clipboard = [this]() -> Clipboard* { return clipboard.get(); },
        .draw = [](const EditorDocument& document, const Image&, auto,
                   const auto&) -> Result<std::string, SceneFailure> {
          return fmt::format("{} drawn", document.shapes.size());
        },
        .isWholePicture = [](const PictureBytes& bytes) { return bytes.read(0, 4) == "png "; }});
    app = std::make_unique<AppCoordinator>(
        AppCoordinator::Services{.main = runners.main(),
                                 .captures = *captures,
                                 .copying = *copying,
                                 .screen = screen,
                                 .alerts = alerts,
                                 .library = library,
                                 .settings = *settings,
                                 .hotKeys = &keys,
                                 .statusItem = &icon,
                                 .cue = [this](const CaptureCue& cue) { cues.push_back(cue); },
                                 .relaunch = [] { return false; },
                                 .terminate = [this] { terminated = true; }});
  }

  void launch() {
    library.open();
    runners.run();
    captures->recoverStaged([this](int count) { recovered = count; });
    runners.run();
  }

  void begin(StillCaptureCommand command) {
    replies.emplace_back();
    app->capture(std::move(command), [this, i = replies.size() - 1](CaptureReply reply) {
      replies[i] = std::move(reply);
    });
    runners.run();
  }

  [[nodiscard]] const CaptureOutcome::Saved* saved(std::size_t i) const {
    if (!replies.at(i)) return nullptr;
    const auto* outcome = std::get_if<CaptureOutcome>(&*replies[i]);
    return outcome == nullptr ? nullptr : std::get_if<CaptureOutcome::Saved>(&outcome->value);
  }

  /// How reply `i` would read.
  [[nodiscard]] std::string words(std::size_t i) const {
    if (!replies.at(i)) return "(no answer)";
    if (const auto* refused = std::get_if<CaptureRefusal>(&*replies[i])) return sentence(*refused);
    const auto& value = std::get<CaptureOutcome>(*replies[i]).value;
    if (const auto* failure = std::get_if<CaptureFailure>(&value)) return sentence(*failure);
    if (const auto* done = std::get_if<CaptureOutcome::Saved>(&value)) {
      std::string text = "saved " + done->entry->path;
      for (const std::string& remark : remarksOn(*done)) text += "\n" + remark;
      return text;
    }
    return "cancelled";
  }

  CoordinatorWorld& world;
  FakeScreen screen{runners.main()};
  FakeAlerts alerts;
  FakeImageCodec codec;
  FakeHotKeys keys{runners.main()};
  FakeOverlay overlay;
  std::shared_ptr<FakeCountdown> countdown = std::make_shared<FakeCountdown>();
  std::shared_ptr<FakeCover> cover = std::make_shared<FakeCover>();
  std::unique_ptr<SettingsStore> settings;
  std::unique_ptr<FakeClipboard> clipboard = std::make_unique<FakeClipboard>();
  FakeStatusItem icon;
  std::optional<StillCaptures> captures;
  std::optional<CaptureCopying> copying;
  std::unique_ptr<AppCoordinator> app;
  std::vector<std::optional<CaptureReply>> replies;
  std::optional<int> recovered;
  bool terminated = false;
  std::vector<CaptureCue> cues;

  /// What Smart Redact comes to with a capture, and what it looked at.
  std::function<CaptureRedaction(const Image& capture)> redaction = [](const Image&) {
    return CaptureRedaction{CaptureRedaction::Clean{}};
  };
  std::vector<PixelSize> looked;
  bool isLooking = false;  ///< it takes until `looking` is called
  std::function<void()> looking;
};

inline WindowSnapshot openWindow(WindowID id, const std::string& owner, PointRect frame) {
  return {.windowID = id,
          .ownerPID = 5,
          .ownerName = owner,
          .applicationID = owner + ".desktop",
          .title = owner + " title",
          .frame = frame};
}

/// A test that begins with a run that has started.
class CoordinatorTest : public testing::Test {
 protected:
  using Kind = StillCaptureCommand::Kind;

  CoordinatorTest() {
    world.files.folders.insert({"/pictures"});
    run = std::make_unique<CoordinatorSession>(world);
    run->launch();
  }
  void restart() {
    run.reset();
    run = std::make_unique<CoordinatorSession>(world);
    run->launch();
  }
  [[nodiscard]] std::vector<std::string> stagedNames() const {
    return world.files.names("/data/Staged Captures");
  }

  CoordinatorWorld world;
  std::unique_ptr<CoordinatorSession> run;
};

}  // namespace vantorel
