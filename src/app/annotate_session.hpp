#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/capture_editors.hpp"
#include "app/coordinator_session.hpp"
#include "app/fake_scans.hpp"
#include "editor/testing/flat_scene_drawing.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/clipboard_in_memory.hpp"

// What the tests of Annotate stand on.

namespace vantorel {

/// Annotate windows that nobody sees. The test says what the user answers to "Save your changes?".
class EditorWindowsInMemory final : public AppWindows {
 public:
  enum class Answer { save, discard, cancel, none };

  class Window final : public Surface {
   public:
    Window(EditorWindowsInMemory& windows, std::shared_ptr<AnnotateModel> shown,
           std::function<void()> onClosed)
        : model(std::move(shown)), windows_(windows), closed_(std::move(onClosed)) {
      open_->push_back(this);
    }
    ~Window() override { std::erase(*open_, this); }
    void bringForward() override { ++timesForward; }
    void requestClose(std::function<void(bool)> done) override {
      ++timesAsked;
      if (!model->hasUnsavedChanges()) return close(done);
      if (windows_.answer == Answer::cancel) return done(false);
      if (windows_.answer == Answer::none) {
        answered = done;
        return;
      }
      if (windows_.answer == Answer::discard) {
        model->discard();
        return close(done);
      }
      model->save([this, done](bool isSaved) {
        if (!isSaved) return done(false);
        close(done);
      });
    }
    void close(const std::function<void(bool)>& done) {
      done(true);
      closed_();
    }
    std::shared_ptr<AnnotateModel> model;
    PixelSize knownSize = model->pictureSize();  ///< when it was made
    std::function<void(bool)> answered;          ///< of the question that stands
    int timesForward = 0;
    int timesAsked = 0;

   private:
    EditorWindowsInMemory& windows_;
    std::shared_ptr<std::vector<Window*>> open_ = windows_.open_;
    std::function<void()> closed_;
  };

  Answer answer = Answer::cancel;

  [[nodiscard]] const std::vector<Window*>& open() const { return *open_; }
  std::shared_ptr<Surface> open(AppWindow, std::function<void()>) override { return nullptr; }
  std::shared_ptr<Surface> openAnnotate(std::shared_ptr<AnnotateModel> model,
                                        std::function<void()> closed) override {
    return std::make_shared<Window>(*this, std::move(model), std::move(closed));
  }
  std::shared_ptr<Surface> openPin(std::shared_ptr<PinModel>, std::function<void()>) override {
    return nullptr;
  }

 private:
  std::shared_ptr<std::vector<Window*>> open_ = std::make_shared<std::vector<Window*>>();
};

/// A run of the program with captures "a" to "c" of 48 x 30 pixels in its library.
class AnnotateSession : public CoordinatorSession {
 public:
  explicit AnnotateSession(CoordinatorWorld& around) : CoordinatorSession(around) {
    if (!files->folders.contains("/pictures")) {
      for (const char* folder : {"/pictures", "/outside"}) files->folders.insert(folder);
    }
    launch();
    if (!store.find("a")) {
      for (const char* id : {"a", "b", "c"}) add(id);
    }
  }

  void add(const std::string& id, CaptureMedium medium = CaptureMedium::image) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.capturedAt = 1000 + id[0];
    entry.path = "/pictures/" + id + ".png";
    files->put(entry.path, picture(static_cast<int>(id[0])));
    entry.pixelWidth = 48;
    entry.pixelHeight = 30;
    entry.captureScale = 2;
    entry.medium = medium;
    EXPECT_TRUE(store.add(std::move(entry)).has_value());
    runners.run();
  }

  /// The bytes of a picture file; another color for each number.
  std::string picture(int number) {
    MutableImage image({48, 30}, PixelFormat::bgrx);
    for (int y = 0; y < 30; ++y) {
      for (std::size_t x = 0; x < std::size_t{48} * 4; ++x) {
        image.row(y)[x] = x % 4 == 3 ? 0 : static_cast<std::uint8_t>(number);
      }
    }
    return codec.encode(std::move(image).finish(), {}).value();
  }

  /// Empty when it was opened, else the sentence why not.
  std::string openEntry(const std::string& name) {
    return opened([&](CaptureEditors::Opened done) { editors->openEntry(name, std::move(done)); });
  }
  std::string openFile(const Path& file) {
    return opened([&](CaptureEditors::Opened done) { editors->openFile(file, std::move(done)); });
  }
  std::string openClipboard() {
    return opened([&](CaptureEditors::Opened done) { editors->openClipboard(done); });
  }

  /// Of the window that was opened last.
  AnnotateModel& model() { return *windows.open().back()->model; }
  std::string notice() { return model().notice() ? model().notice()->text : "nothing"; }
  void draw(int shape) {
    model().editor().edit("Draw", [&](EditorSnapshot& state) { state.append(mixedShape(shape)); });
    runners.run();
  }
  /// Says what became of it.
  bool save() {
    bool isSaved = false;
    model().save([&](bool now) { isSaved = now; });
    runners.run();
    return isSaved;
  }
  void closeWindow() {
    windows.open().back()->requestClose([](bool) {});
    runners.run();
  }
  std::vector<std::string> drafts() { return files->names("/data/Drafts"); }

  /// Puts another picture in the place of the capture's file: of color 1 where it is covered, of
  /// color 2 where it is not.
  void switchRedaction(const std::string& id, bool covers) {
    files->put("/pictures/" + id + ".png", picture(covers ? 1 : 2));
    Shape box;
    box.id = "cover";
    box.type = ShapeType::redact;
    EXPECT_TRUE(store
                    .update(id,
                            [&](ScreenshotEntry& entry) {
                              entry.autoRedactions = std::vector<Shape>{box};
                              entry.originalPath.reset();
                              if (covers) {
                                entry.originalPath = "/data/Redacted Originals/" + id + ".png";
                              }
                              entry.fileIdentity = identifyFile(*files, entry.path);
                            })
                    .has_value());
    if (covers) files->put("/data/Redacted Originals/" + id + ".png", picture(2));
    runners.run();
  }
  std::string switchFails;

  ClipboardInMemory pasteboard;
  FlatSceneDrawing drawing;
  FakeScans scans;
  EditorWindowsInMemory windows;
  std::vector<std::string> forgotten;
  std::shared_ptr<const ImageCodec> pictures{&codec, [](const ImageCodec*) {}};
  AnnotationDrafts kept{{.main = runners.main(),
                         .io = runners.runner("drafts"),
                         .files = files,
                         .folder = "/data/Drafts"}};
  std::optional<CaptureEditors> editors{CaptureEditors::Services{
      .model = {.main = runners.main(),
                .work = runners.runner("drawing"),
                .disk = runners.runner("opening"),
                .files = files,
                .codec = pictures,
                .settings = *settings,
                .alerts = alerts,
                .pendingWork = app->pendingArchiveWork(),
                .clipboard = [this]() -> Clipboard* { return &pasteboard; },
                .protectedFiles =
                    [this] {
                      return ProtectedFiles{.entries = store.entries(),
                                            .paths = store.paths(),
                                            .originals = store.paths().originals()};
                    },
                .layers = "/data/Layers",
                .drags = "/caches/Drags",
                .scan = scans.scan()},
      .capture = {.main = runners.main(),
                  .work = runners.runner("drawing"),
                  .disk = runners.runner("opening"),
                  .files = files,
                  .codec = pictures,
                  .library = library,
                  .drafts = kept,
                  .import =
                      [this](std::shared_ptr<StillCaptures::Import> import,
                             StillCaptureFiling::Filed filed) {
                        captures->import(std::move(import), std::move(filed));
                      },
                  .forget =
                      [this](const std::string& id, const auto& done) {
                        forgotten.push_back(id);
                        done({});
                      },
                  .switchRedaction =
                      [this](const std::string& id, bool covers, const auto& done) {
                        if (!switchFails.empty()) return done(std::unexpected(switchFails));
                        switchRedaction(id, covers);
                        done({});
                      }},
      .surfaces = app->surfaces(),
      .clock = clock(),
      .windows = &windows,
      .drawing = [this]() -> Result<SceneDrawing*, SceneFailure> { return &drawing; }}};

 private:
  std::string opened(const std::function<void(CaptureEditors::Opened)>& open) {
    std::string answer = "nothing was answered";
    open([&](const Result<void, std::string>& result) {
      answer = result ? std::string() : result.error();
    });
    runners.run();
    return answer;
  }
};

}  // namespace vantorel
