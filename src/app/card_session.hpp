#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/card_stack.hpp"
#include "editor/entry_document.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"

// What the tests of cards stand on.

namespace vantorel {

class CardClipboard final : public Clipboard {
 public:
  int images = 0;
  bool refuses = false;
  std::string png;  ///< on it

  void setImage(std::string image, std::move_only_function<void(Result<void>)> done) override {
    if (refuses) return done(failed(FailureKind::other, "no"));
    ++images;
    png = std::move(image);
    done({});
  }
  void read(std::vector<std::string>, Read done) override { done(ClipboardItem{"image/png", png}); }
  void setText(std::string, std::move_only_function<void(Result<void>)>) override {}
  void setShapes(std::string, std::move_only_function<void(Result<void>)>) override {}
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

inline Image flatPicture(PixelSize size) {
  MutableImage image(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    for (std::size_t i = 0; i < image.row(y).size(); ++i) {
      image.row(y)[i] = i % 4 == 3 ? 0 : static_cast<std::uint8_t>(i / 50);
    }
  }
  return std::move(image).finish();
}

/// A library with the pictures "a" to "e", all taken just now, and nothing on the screen.
struct CardSession {
  CardSession() {
    library.files->folders.insert("/captures");
    library.library.open();
    library.runners.run();
    for (const char* id : {"a", "b", "c", "d", "e"}) {
      const std::string path = std::string("/captures/") + id + ".png";
      library.files->put(path, codec->encode(flatPicture({48, 30}), {}).value());
      ScreenshotEntry entry;
      entry.id = id;
      entry.capturedAt = 1000 + id[0];
      entry.path = path;
      entry.pixelWidth = 48;
      entry.pixelHeight = 30;
      EXPECT_TRUE(library.store.add(std::move(entry)).has_value());
    }
    library.runners.run();
  }

  EntryPointer entry(const std::string& id) { return library.store.find(id); }

  std::uint64_t capture(const std::string& id) {
    stack.add({.entry = entry(id), .shown = {10, 20, 48, 30}, .picture = flatPicture({48, 30})});
    library.runners.run();
    return stack.cards().empty() ? 0 : stack.cards().front().number;
  }

  std::vector<std::string> ids() const {
    std::vector<std::string> found;
    for (const Card& card : stack.cards()) found.push_back(card.entry->id);
    return found;
  }

  TestLibrary library;
  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{library.runners.main()};
  FakeAlerts alerts;
  CardClipboard clipboard;
  CaptureRewriter rewriter{{.main = library.runners.main(),
                            .work = library.runners.runner("work"),
                            .files = library.files,
                            .codec = codec,
                            .library = &library.library,
                            .settings = &settings,
                            .pendingWork = &pending,
                            .surfaces = &surfaces}};
  CaptureCopying copying{
      {.main = library.runners.main(),
       .work = library.runners.runner("pictures"),
       .files = library.files,
       .codec = codec,
       .library = library.library,
       .alerts = alerts,
       .clipboard = [this]() -> Clipboard* { return &clipboard; },
       .draw = [this](const EditorDocument&, const Image& base, std::optional<double>,
                      const ImageEncoding& encoding) -> Result<std::string, SceneFailure> {
         return codec->encode(base.cropped({0, 0, 20, 20}), encoding).value();
       },
       .isWholePicture = [](const PictureBytes&) { return true; }}};
  CaptureExport exporting{{.main = library.runners.main(),
                           .work = library.runners.runner("exports"),
                           .files = library.files,
                           .codec = codec,
                           .store = &library.store,
                           .settings = &settings,
                           .draw = {}}};
  CaptureWeigher weigher{{.main = library.runners.main(),
                          .work = library.runners.runner("weights"),
                          .files = library.files,
                          .codec = codec,
                          .settings = &settings}};
  std::vector<std::string> revealed;
  std::vector<std::string> opened;
  std::vector<std::string> pinned;
  std::optional<Failure> openFails;
  CardStack stack{
      {.main = library.runners.main(),
       .clock = library.runners,
       .library = library.library,
       .settings = settings,
       .rewriter = rewriter,
       .copying = copying,
       .exporting = exporting,
       .weigher = weigher,
       .work = library.runners.runner("thumbnails"),
       .files = library.files,
       .codec = codec,
       .finish = [](const ScreenshotEntry& shown, Image picture) -> Result<Image> {
         if (isAnnotated(shown)) return picture.cropped({0, 0, 12, 6});
         return picture;
       },
       .reveal =
           [this](const Path& file, const auto& done) {
             revealed.push_back(file.string());
             done({});
           },
       .open =
           [this](const EntryPointer& shown, const auto& done) {
             if (openFails) return done(std::unexpected(*openFails));
             opened.push_back(shown->id);
             done({});
           },
       .pin =
           [this](const EntryPointer& shown, const auto& done) {
             pinned.push_back(shown->id);
             done({});
           },
       .openHistory = {},
       .redact = [this](const std::string& id, const auto& done) { redactNow(id, done); },
       .switchRedaction =
           [this](const std::string& id, bool covers, const auto& done) {
             switched.push_back(id + (covers ? " covered" : " uncovered"));
             cover(id, covers);
             done({});
           },
       .copyText =
           [this](const std::string& text, const auto& done) {
             copiedText = text;
             done({});
           }}};

  /// Makes it a capture of which one place was covered before it was filed.
  void cover(const std::string& id, bool isCovering) {
    EXPECT_TRUE(
        library.store
            .update(id,
                    [&](ScreenshotEntry& changed) {
                      changed.autoRedactions = std::vector<Shape>(1);
                      changed.originalPath.reset();
                      if (isCovering) {
                        changed.originalPath =
                            (library.store.paths().redactedOriginals() / (id + ".png")).string();
                      }
                    })
            .has_value());
  }
  std::vector<std::string> switched;
  std::string copiedText;

  /// Covers `finds` places, and says so at once.
  void redactNow(const std::string& id, const std::function<void(Result<int, std::string>)>& done) {
    if (!redactFails.empty()) return done(std::unexpected(redactFails));
    EXPECT_TRUE(library.store
                    .update(id,
                            [this](ScreenshotEntry& changed) {
                              for (int i = 0; i < finds; ++i) {
                                Shape box{.type = ShapeType::redact};
                                box.id = "find" + std::to_string(i);
                                box.x1 = 4 * i;
                                box.x2 = 4 * i + 3;
                                box.y2 = 5;
                                changed.shapes.push_back(std::move(box));
                              }
                            })
                    .has_value());
    done(finds);
  }
  int finds = 3;
  std::string redactFails;
};

}  // namespace vantorel
