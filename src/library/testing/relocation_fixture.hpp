#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "base/log.hpp"
#include "library/history_relocation.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {

/// Moves of a library between folders of fake files.
class HistoryRelocationTest : public testing::Test {
 protected:
  struct PowerCut {};

  static constexpr const char* journalPath = "/data/relocation.json";
  static inline const LibraryPaths paths{"/data", "/caches"};

  /// The program on a disk that outlives it.
  struct World {
    explicit World(FakeFiles& disk, std::size_t batchSize = HistoryRelocation::relocationBatchSize)
        : files(disk), relocation(services(batchSize)) {
      store.load([this] { relocation.recover([this] { isReady = true; }); });
      runners.run();
    }

    std::optional<RelocationOutcome> outcome;
    void begin(const Path& folder) {
      outcome.reset();
      relocation.relocate(
          {folder, {"/old", "/usual"}}, [this](std::size_t done, std::size_t) { tried = done; },
          [this](RelocationOutcome came) { outcome = std::move(came); });
    }
    RelocationOutcome move(const Path& folder) {
      begin(folder);
      runners.run();
      EXPECT_TRUE(outcome.has_value());
      for (const EntryPointer& entry : store.entries()) {
        EXPECT_EQ(store.claims().isFileChanging(entry->id), entry->id == busy) << entry->id;
      }
      return outcome.value_or(RelocationOutcome{});
    }

    HistoryRelocation::Services services(std::size_t batchSize) {
      return {store, files, runners, runners.main(), runners.runner("work"), batchSize};
    }

    FakeFiles& files;
    FakeRunners runners;
    HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0}, paths};
    HistoryRelocation relocation;
    std::string busy;  // claimed by somebody else
    bool isReady = false;
    std::size_t tried = 0;
  };

  HistoryRelocationTest() {
    formerSink = setLogSink([](LogLevel, std::string_view, std::string_view) {});
  }
  ~HistoryRelocationTest() override { setLogSink(std::move(formerSink)); }

  /// A library of `count` pictures, one with an original, one that shows another's picture as a
  /// layer, a package, and files that stay where they are.
  void fill(FakeFiles& files, int count) {
    files.folders.insert("/new");
    World world(files);
    for (int i = 0; i < count; ++i) {
      ScreenshotEntry entry;
      entry.id = std::to_string(i);
      entry.path = "/old/" + entry.id + ".png";
      put(files, entry.path);
      if (i == 1) {
        entry.originalPath = "/data/Redacted Originals/1 original.png";
        put(files, *entry.originalPath);
      }
      if (i == 2) {
        LayerSpec layer;
        layer.path = "/old/0.png";
        entry.layers = {layer};
        entry.originalPath = "/old/inner/2.jpeg";
        put(files, *entry.originalPath);
      }
      EXPECT_TRUE(world.store.add(entry).has_value());
    }
    ScreenshotEntry project;
    project.id = "project";
    project.medium = CaptureMedium::project;
    project.path = "/usual/Take.vantorelstudio";
    put(files, project.path + "/project.json");
    put(files, project.path + "/takes/1/input.jsonl");
    put(files, project.path + "/media/screen.mp4");
    EXPECT_TRUE(world.store.add(project).has_value());
    ScreenshotEntry elsewhere;
    elsewhere.id = "elsewhere";
    elsewhere.path = "/else/where.png";
    put(files, elsewhere.path);
    EXPECT_TRUE(world.store.add(elsewhere).has_value());
    world.runners.advance(std::chrono::seconds(1));
  }

  void put(FakeFiles& files, const std::string& path) {
    files.now += 10;
    files.put(path, "content of " + path);
    files.disk[path]->attributes["mark"] = path;
    contents[Path(path).filename()] = files.text(path);
  }

  /// Each entry's files are where it says, as they were.
  void expectReachable(const World& world, std::size_t entries) {
    EXPECT_EQ(world.store.entries().size(), entries);
    for (const EntryPointer& entry : world.store.entries()) {
      forEachPath(*entry, [&](const std::string& path) {
        if (Path(path).extension() != ".vantorelstudio") {
          EXPECT_EQ(world.files.text(path), contents[Path(path).filename()]) << path;
          return;
        }
        for (const char* part : {"project.json", "takes/1/input.jsonl", "media/screen.mp4"}) {
          EXPECT_EQ(world.files.text(Path(path) / part), contents[Path(part).filename()]) << path;
        }
      });
    }
  }

  std::map<std::string, std::string> contents;
  LogSink formerSink;
};

}  // namespace vantorel
