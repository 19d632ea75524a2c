#include "library/library_prune.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/entry_filter.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

class LibraryPruneTest : public testing::Test, protected TestLibrary {
 protected:
  LibraryPruneTest() {
    library.open();
    runners.run();
    for (const char* const id : {"a", "b", "c"}) {
      ScreenshotEntry entry;
      entry.id = id;
      entry.path = std::string("/captures/") + id + ".png";
      files->put(entry.path, std::string("pixels of ") + id);
      EXPECT_TRUE(store.add(std::move(entry)).has_value());
    }
  }

  PruneReport run(bool takesReplaced = false) {
    std::optional<PruneReport> answer;
    prune.run(takesReplaced, progress, [&](PruneReport report) { answer = std::move(report); });
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return answer.value_or(PruneReport{});
  }

  [[nodiscard]] std::vector<std::string> ids() { return idsOf(store.entries()); }

  QuietLog quiet;
  CheckProgress progress = [](std::size_t, std::size_t) { return true; };
  LibraryPrune prune{{.main = runners.main(),
                      .work = runners.runner("work"),
                      .files = files,
                      .library = &library}};
};

TEST_F(LibraryPruneTest, WhatAnotherFolderOfTheNameLacksStaysUntilToldOtherwise) {
  EXPECT_EQ(run().forgotten.entries.size(), 0U);
  files->folderNumbers["/captures"] = 99;
  files->disk.erase("/captures/a.png");
  const PruneReport kept = run();
  EXPECT_EQ(kept.forgotten.entries.size(), 0U);
  EXPECT_EQ(kept.replaced, 1U);
  EXPECT_EQ(kept.outOfReach, 0U);
  const PruneReport taken = run(true);
  EXPECT_EQ(taken.forgotten.entries.size(), 1U);
  EXPECT_EQ(taken.replaced, 0U);
  EXPECT_THAT(ids(), ElementsAre("b", "c"));
}

TEST_F(LibraryPruneTest, WhatIsBackWhenTheLookEndsStays) {
  files->disk.erase("/captures/a.png");
  files->disk.erase("/captures/b.png");
  progress = [this](std::size_t at, std::size_t total) {
    if (at + 1 == total) files->put("/captures/a.png", "out of the Trash again");
    return true;
  };
  EXPECT_THAT(idsOf(run().forgotten.entries), ElementsAre("b"));
  EXPECT_THAT(ids(), ElementsAre("a", "c"));
}

}  // namespace
}  // namespace vantorel
