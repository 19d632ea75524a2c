#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "library/history_deletion.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"

namespace vantorel {

/// Deletions in a library of fake files that has the captures a, b, c and d.
class HistoryDeletionTest : public testing::Test {
 protected:
  static constexpr const char* index = "/data/history.json";

  HistoryDeletionTest() {
    formerSink = setLogSink([](LogLevel, std::string_view, std::string_view) {});
    store.load([] {});
    runners.run();
    for (const char* const id : {"a", "b", "c", "d"}) add(id);
    runners.advance(std::chrono::seconds(1));
  }
  ~HistoryDeletionTest() override { setLogSink(std::move(formerSink)); }

  void add(const std::string& id, const std::function<void(ScreenshotEntry&)>& change = {}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.capturedAt = runners.now();
    entry.path = "/captures/" + id + ".png";
    if (change) change(entry);
    if (!files.disk.contains(entry.path)) files.put(entry.path, "pixels of " + id);
    ASSERT_TRUE(store.add(entry).has_value());
  }

  std::string ids() {
    std::string text;
    for (const EntryPointer& entry : store.entries()) text += entry->id;
    return text;
  }

  TrashSweep trashed(const std::vector<std::string>& which,
                     HistoryDeletion::Undo undo = HistoryDeletion::Undo::offered) {
    std::optional<TrashSweep> answer;
    deletion.trash(which, undo, [&](TrashSweep sweep) { answer = std::move(sweep); });
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return *std::move(answer);
  }

  UndoOutcome undone() {
    std::optional<UndoOutcome> answer;
    deletion.undo([&](UndoOutcome outcome) { answer = std::move(outcome); });
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return *std::move(answer);
  }

  FakeFiles files;
  FakeRunners runners;
  FakeTrash trash{files};
  LogSink formerSink;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  HistoryDeletion deletion{{store, files, trash, runners, runners.main(), runners.runner("work")}};
};

}  // namespace vantorel
