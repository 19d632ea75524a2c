#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/history_model.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"

namespace vantorel {

// What the tests of the History window and of its model share.

class TextClipboard final : public Clipboard {
 public:
  std::string text;
  std::string png;
  void setImage(std::string image, std::move_only_function<void(Result<void>)> done) override {
    png = std::move(image);
    done({});
  }
  void setText(std::string copied, std::move_only_function<void(Result<void>)> done) override {
    text = std::move(copied);
    done({});
  }
  void setShapes(std::string, std::move_only_function<void(Result<void>)>) override {}
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

/// A run of the program with its History window open from the start.
struct HistorySession : TestLibrary {
  HistorySession() {
    // Saturday, 3 January 2026, noon UTC.
    runners.setNow(1767441600);
    files->makeFolder("/pictures", Privacy::byUmask).value();
  }

  void add(const std::string& id, double ago = 0,
           const std::function<void(ScreenshotEntry&)>& change = {}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.capturedAt = runners.now() - ago;
    entry.path = "/pictures/" + id + ".png";
    files->put(entry.path, codec->encode(pictureFor(id), {}).value());
    if (change) change(entry);
    store.add(std::move(entry)).value();
  }
  /// Each id has another color.
  static Image pictureFor(const std::string& id) {
    MutableImage picture({160, 100}, PixelFormat::bgrx);
    const auto seed = static_cast<unsigned>(std::hash<std::string>()(id));
    for (int y = 0; y < 100; ++y) {
      const auto row = picture.row(y);
      for (std::size_t x = 0; x < row.size(); ++x) {
        row[x] = static_cast<std::uint8_t>((seed >> (x % 4 * 8)) + static_cast<unsigned>(y) / 2);
      }
    }
    return std::move(picture).finish();
  }
  /// Makes it a capture of which one place was covered before it was filed.
  void cover(const std::string& id, bool isCovering) {
    store
        .update(id,
                [&](ScreenshotEntry& entry) {
                  entry.autoRedactions = std::vector<Shape>(1);
                  entry.originalPath.reset();
                  if (isCovering) {
                    entry.originalPath =
                        (store.paths().redactedOriginals() / (id + ".png")).string();
                  }
                })
        .value();
  }
  void open() {
    store.onForeignIndex = [this](const ForeignIndex& foreign) {
      foreignObservers.notify(foreign);
    };
    library.open();
    runners.run();
  }
  void click(const std::string& id, HistorySelection::Mode mode) {
    const auto place = model.listing().placeOf(id);
    ASSERT_TRUE(place) << id;
    model.select([&](HistorySelection& selection) { selection.click(*place, mode); });
  }
  void choose(const std::string& id) { click(id, HistorySelection::Mode::replace); }
  void alsoChoose(const std::string& id) { click(id, HistorySelection::Mode::toggle); }

  /// A look at the folders found other files than the last one.
  void setReach(std::map<std::string, FileReach> found) {
    reach = std::move(found);
    reachObservers.notify();
  }

  [[nodiscard]] std::vector<std::string> listed() const {
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < model.listing().size(); ++i) {
      ids.push_back(model.listing().at(i)->id);
    }
    return ids;
  }
  [[nodiscard]] std::vector<std::string> sidebar() const {
    std::vector<std::string> rows;
    for (const HistorySidebarRow& row : model.sidebar()) {
      rows.push_back(fmt::format("{} {}{}{}", row.label, row.count,
                                 row.isFiledInto ? " filing" : "", row.isShown ? " shown" : ""));
    }
    return rows;
  }
  [[nodiscard]] std::string notice() const {
    return model.notice() ? model.notice()->text : "nothing";
  }
  [[nodiscard]] std::string obstacle(HistoryAction action) const {
    return model.obstacle(action).value_or("none");
  }

  static LocalDay utcDay(double seconds) {
    const double begin = std::floor(seconds / 86400) * 86400;
    const std::chrono::sys_days midnight{std::chrono::days(static_cast<int>(begin / 86400))};
    const std::chrono::year_month_day date(midnight);
    return {.year = static_cast<int>(date.year()),
            .month = static_cast<int>(static_cast<unsigned>(date.month())),
            .day = static_cast<int>(static_cast<unsigned>(date.day())),
            .weekday = static_cast<int>(std::chrono::weekday(midnight).c_encoding()),
            .begin = begin,
            .end = begin + 86400};
  }

  std::shared_ptr<const ImageCodec> codec = std::make_shared<FakeImageCodec>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  FakeAlerts alerts;
  TextClipboard clipboard;
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{runners.main()};
  CaptureRewriter rewriter{{.main = runners.main(),
                            .work = runners.runner("work"),
                            .files = files,
                            .codec = codec,
                            .library = &library,
                            .settings = &settings,
                            .pendingWork = &pending,
                            .surfaces = &surfaces}};
  CaptureCopying copying{{.main = runners.main(),
                          .work = runners.runner("work"),
                          .files = files,
                          .codec = codec,
                          .library = library,
                          .alerts = alerts,
                          .clipboard = [this]() -> Clipboard* { return &clipboard; },
                          .draw = {},
                          .isWholePicture = [](const PictureBytes&) { return true; }}};
  int drawings = 0;
  CaptureExport exporting{
      {.main = runners.main(),
       .work = runners.runner("work"),
       .files = files,
       .codec = codec,
       .store = &store,
       .settings = &settings,
       .draw = [this](const EditorDocument&, const Image& base, std::optional<double>,
                      const ImageEncoding& encoding) -> Result<std::string, SceneFailure> {
         ++drawings;
         return codec->encode(base, encoding).value();
       }}};
  LibraryPrune prune{{.main = runners.main(),
                      .work = runners.runner("work"),
                      .files = files,
                      .library = &library}};
  PictureFinish finish = [](const ScreenshotEntry&, Image picture) { return picture; };
  std::map<std::string, FileReach> reach;  ///< of those that are not there
  Observers<> reachObservers;
  Observers<ForeignIndex> foreignObservers;
  std::vector<std::string> opened;
  std::vector<std::string> annotated;  ///< ids
  std::vector<std::string> pinned;     ///< likewise
  std::optional<std::string> annotateFails;
  HistoryModel::Services services{
      .main = runners.main(),
      .reading = runners.runner("search"),
      .library = library,
      .settings = settings,
      .actions = {.main = runners.main(),
                  .work = runners.runner("work"),
                  .files = files,
                  .library = library,
                  .rewriter = rewriter,
                  .copying = copying,
                  .exporting = exporting,
                  .prune = prune,
                  .clipboard = [this]() -> Clipboard* { return &clipboard; },
                  .joinsLines = [this] { return settings.values().joinCopiedTextLines; },
                  .reachOf =
                      [this](const ScreenshotEntry& entry) {
                        const auto found = reach.find(entry.id);
                        return found == reach.end() ? FileReach::there : found->second;
                      },
                  .annotate =
                      [this](const std::vector<NamedPicture>& pictures, const auto& done) {
                        std::vector<UnopenedPicture> unopened;
                        for (const NamedPicture& picture : pictures) {
                          annotated.push_back(picture.capture);
                          if (annotateFails) unopened.push_back({picture, *annotateFails});
                        }
                        done(unopened);
                      },
                  .pin =
                      [this](const std::vector<NamedPicture>& pictures, const auto& done) {
                        for (const auto& picture : pictures) pinned.push_back(picture.capture);
                        done({});
                      },
                  .open = [this](const Path& path) { opened.push_back(path); },
                  .reveal = [](const std::vector<Path>&) {},
                  .switchRedaction =
                      [this](const std::string& id, bool covers, const auto& done) {
                        if (id == "busy") return done(std::unexpected("It is busy."));
                        cover(id, covers);
                        done({});
                      }},
      .previews = std::make_shared<PreviewCache>(
          PreviewCache::Services{.main = runners.main(),
                                 .work = runners.runner("previews"),
                                 .files = files,
                                 .codec = codec,
                                 .clock = clock(),
                                 .finish = finish,
                                 .isCurrent =
                                     [this](const EntryPointer& entry) {
                                       return library.store().find(entry->id) == entry;
                                     },
                                 .folder = library.paths().previews()}),
      .pictures = std::make_shared<PictureLoader>(
          PictureLoader::Services{.main = runners.main(),
                                  .work = runners.runner("previews"),
                                  .files = files,
                                  .codec = codec,
                                  .finish = finish}),
      .dayOf = utcDay,
      .observeReach =
          [this](std::function<void()> changed) { return reachObservers.add(std::move(changed)); },
      .observeForeignIndex =
          [this](std::function<void(const ForeignIndex&)> found) {
            return foreignObservers.add(std::move(found));
          },
      .captureKey = [] { return "Print"; },
      .captureArea = [] {}};
  std::shared_ptr<HistoryModel> shared = std::make_shared<HistoryModel>(services);
  HistoryModel& model = *shared;
  int changes = 0;
  HistoryModelChange seen;
  Observation observation = model.observe([this](const HistoryModelChange& change) {
    ++changes;
    seen = change;
  });
};

}  // namespace vantorel
