#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/annotate_model.hpp"
#include "app/fake_scans.hpp"
#include "platform/testing/clipboard_in_memory.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {

/// What a capture got back, in the order in which it did.
class HeldCapture final : public EditedCapture {
 public:
  std::string name = "Stations, week 47";
  std::vector<EditorDocument> stored;
  std::string refusal;  ///< why the library takes nothing; empty when it does
  int draftsDropped = 0;
  bool isRemoved = false;

  [[nodiscard]] std::string title() const override { return name; }
  [[nodiscard]] std::string fileStem() const override { return name; }
  [[nodiscard]] std::optional<double> capturedAt() const override { return std::nullopt; }
  [[nodiscard]] std::string entryID() const override { return "a"; }
  [[nodiscard]] Path file() const override { return "/pictures/a.png"; }
  [[nodiscard]] bool isInLibrary() const override { return true; }
  void store(const EditorDocument& document, PixelSize,
             std::function<void(Result<void, std::string>)> done) override {
    if (!refusal.empty()) return done(std::unexpected(refusal));
    stored.push_back(document);
    done({});
  }
  void keepDraft(const EditorDocument&, PixelSize,
                 std::function<void(const Result<void>&)> kept) override {
    kept({});
  }
  void dropDraft() override { ++draftsDropped; }
  void removeFromHistory() override { isRemoved = true; }
};

/// One open picture with everything around it in memory, drawn for real.
struct OpenPicture {
  explicit OpenPicture(SceneDrawing& engine) : drawing(&engine) {}

  void open(Image base, EditorDocument document = {}) {
    model->open({.base = std::move(base), .document = std::move(document), .drawing = drawing});
    runners.run();
  }

  SceneDrawing* drawing;
  FakeRunners runners;
  std::shared_ptr<FakeFiles> files = std::make_shared<FakeFiles>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  FakeAlerts alerts;
  PendingArchiveWork pending;
  ClipboardInMemory clipboard;
  FakeScans scans;
  std::shared_ptr<HeldCapture> capture = std::make_shared<HeldCapture>();
  std::shared_ptr<AnnotateModel> model = std::make_shared<AnnotateModel>(
      AnnotateModel::Services{.main = runners.main(),
                              .work = runners.runner("work"),
                              .disk = runners.runner("disk"),
                              .files = files,
                              .codec = std::make_shared<FakeImageCodec>(),
                              .settings = settings,
                              .alerts = alerts,
                              .pendingWork = pending,
                              .clipboard = [this] { return &clipboard; },
                              .protectedFiles = [] { return ProtectedFiles{}; },
                              .layers = "/data/layers",
                              .drags = "/data/drags",
                              .scan = scans.scan()},
      capture);
};

}  // namespace vantorel
