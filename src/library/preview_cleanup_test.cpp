#include "library/preview_cleanup.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/preview_name.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using testing::UnorderedElementsAre;

const Path folder = "/caches/previews";

TEST(PreviewCleanupTest, WhatAnEntryShowsNoMoreGoesAndNothingElse) {
  const auto files = std::make_shared<FakeFiles>();
  FakeRunners runners;
  HistoryStore store{{*files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  store.load([] {});
  runners.run();
  PreviewCleanup cleanup(store, runners.runner("previews"), files, folder);
  for (const char* const id : {"a", "b"}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = std::string("/captures/") + id + ".png";
    ASSERT_TRUE(store.add(entry).has_value());
  }
  const auto keepPreview = [&](const std::string& id) {
    const std::string name = PreviewName::whole(*store.find(id), {}) + ".jpg";
    files->put(folder / name, "preview");
    return name;
  };
  const auto change = [&](const std::string& id, auto&& edit) {
    ASSERT_TRUE(store.update(id, edit).has_value());
    runners.run();
  };
  const auto kept = [&] { return files->names(folder); };
  std::string a = keepPreview("a");
  const std::string b = keepPreview("b");

  change("a", [](ScreenshotEntry& entry) { entry.title = "Named"; });
  EXPECT_THAT(kept(), UnorderedElementsAre(a, b)) << "a name changes no picture";
  change("a", [](ScreenshotEntry& entry) { entry.crop = Box{.x = 0, .y = 0, .w = 8, .h = 5}; });
  EXPECT_THAT(kept(), UnorderedElementsAre(b));
  a = keepPreview("a");
  store.removeEntries({"b"});
  runners.run();
  EXPECT_THAT(kept(), UnorderedElementsAre(a));

  // What happened while nobody looked, also names of an earlier build.
  files->put(folder / b, "of an entry that went");
  files->put(folder / "0123456789abcdef0123456789abcdef.jpg", "of nobody");
  files->put(folder / "holiday.jpg", "of somebody else");
  cleanup.removeAllOutdated();
  runners.run();
  EXPECT_THAT(kept(), UnorderedElementsAre(a, "holiday.jpg"));
  store.removeEntries({"a"});
  runners.run();
  EXPECT_THAT(kept(), UnorderedElementsAre("holiday.jpg"));
}

}  // namespace
}  // namespace vantorel
