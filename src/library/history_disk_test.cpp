#include "library/history_disk.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

TEST(HistoryDiskTest, ALibraryThatIsNotReadYetHasNoSize) {
  FakeFiles files;
  FakeRunners runners;
  files.put("/captures/a.png", std::string(10, 'x'));
  files.put("/data/history.json",
            R"({"version":4,"entries":[{"id":"a","capturedAt":1,"path":"/captures/a.png"}]})");
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  HistoryDisk disk(store, files, runners.main(), runners.runner("work"));
  std::vector<std::uint64_t> answers;
  disk.whenMeasured([&](std::uint64_t bytes) { answers.push_back(bytes); });
  runners.run();
  EXPECT_TRUE(answers.empty());
  store.load([] {});
  runners.run();
  EXPECT_EQ(answers, std::vector<std::uint64_t>{10});
}

TEST(HistoryDiskTest, TheSizeFollowsEveryChangeAndAFileCountsOnce) {
  FakeFiles files;
  FakeRunners runners;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  store.load([] {});
  runners.run();
  HistoryDisk disk(store, files, runners.main(), runners.runner("work"));
  const auto add = [&](const std::string& id, const std::string& path,
                       std::optional<std::string> original = {}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = path;
    entry.originalPath = std::move(original);
    EXPECT_TRUE(store.add(entry).has_value());
  };
  files.put("/captures/a.png", std::string(10, 'x'));
  files.put("/captures/a original.png", std::string(100, 'x'));
  files.put("/captures/b.png", std::string(1000, 'x'));
  add("a", "/captures/a.png", "/captures/a original.png");
  add("gone", "/captures/gone.png");
  runners.run();
  EXPECT_EQ(disk.storageBytes(), std::nullopt) << "nobody asked";

  std::uint64_t answer = 0;
  disk.whenMeasured([&](std::uint64_t bytes) { answer = bytes; });
  // While it is being measured.
  add("b", "/captures/b.png");
  add("copy", "/captures/b.png", "/captures/b.png");
  runners.run();
  EXPECT_EQ(answer, 1110U);
  EXPECT_EQ(disk.storageBytes(), 1110U);

  ASSERT_EQ(store.removeEntries({"b"}).size(), 1U);
  runners.run();
  EXPECT_EQ(disk.storageBytes(), 1110U) << "its copy is still there";
  files.put("/captures/b.png", std::string(2000, 'x'));
  disk.fileChanged("/captures/b.png");
  disk.whenMeasured([&](std::uint64_t bytes) { answer = bytes; });
  EXPECT_EQ(answer, 1110U);
  runners.run();
  EXPECT_EQ(answer, 2110U);

  // Converted: the first file is the original from then on.
  files.put("/captures/b.webp", std::string(5, 'x'));
  ASSERT_TRUE(store
                  .update("copy",
                          [](ScreenshotEntry& entry) {
                            entry.path = "/captures/b.webp";
                            entry.originalPath = "/captures/b.png";
                          })
                  .has_value());
  runners.run();
  EXPECT_EQ(disk.storageBytes(), 2115U);
  ASSERT_EQ(store.removeEntries({"copy", "a", "gone"}).size(), 3U);
  runners.run();
  EXPECT_EQ(disk.storageBytes(), 0U);
}

}  // namespace
}  // namespace vantorel
