#include "library/look_adoption.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/file_reach.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LookAdoptionTest : public testing::Test {
 protected:
  LookAdoptionTest() {
    files.folders.insert("/t");
    store.load([] {});
    runners.run();
    for (const char* const id : {"a", "b", "c"}) {
      ScreenshotEntry entry;
      entry.id = id;
      entry.path = pathOf(id);
      files.put(entry.path, std::string("pixels of ") + id);
      entry.fileIdentity = identifyFile(files, entry.path);
      EXPECT_TRUE(store.add(std::move(entry)).has_value());
    }
  }

  static std::string pathOf(const std::string& id) { return "/one/" + id + ".png"; }

  /// The files of a and b swap names.
  void swap() {
    const auto aside = files.disk[pathOf("a")];
    files.disk[pathOf("a")] = files.disk[pathOf("b")];
    files.disk[pathOf("b")] = aside;
  }
  void putOver(const std::string& from, const std::string& to) {
    files.disk[pathOf(to)] = files.disk[pathOf(from)];
    files.disk.erase(pathOf(from));
  }

  FileLook look(const std::string& id) { return LookBeforeUse(store, {id}).look(files); }

  FakeFiles files;
  FakeRunners runners;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     {"/data", "/caches"}};
};

TEST_F(LookAdoptionTest, NamesChangeHandsTogetherOrNotAtAll) {
  swap();
  {
    // Whoever rewrites b knows of no new name.
    const auto rewriting = store.claims().claim("b", EntryWork::rewriting);
    const AdoptedLook held = adoptLook(store, look("a"));
    EXPECT_EQ(held.renamed, 0U);
    EXPECT_THAT(held.unsettled, UnorderedElementsAre("a", "b")) << "a has the file of b";
    EXPECT_EQ(store.find("a")->path, pathOf("a"));
    // Who has claimed it itself may.
    EXPECT_THAT(adoptLook(store, look("b"), {"b"}).unsettled, IsEmpty());
  }
  EXPECT_EQ(store.find("a")->path, pathOf("b"));
  EXPECT_EQ(store.find("b")->path, pathOf("a"));

  // Changed since it was looked at.
  swap();
  const FileLook stale = look("a");
  ASSERT_TRUE(store.update("a", [](ScreenshotEntry& entry) { entry.starred = true; }).has_value());
  EXPECT_THAT(adoptLook(store, stale).unsettled, UnorderedElementsAre("a", "b"));
  EXPECT_THAT(adoptLook(store, look("a")).unsettled, IsEmpty());
  EXPECT_EQ(store.find("a")->path, pathOf("a"));
  EXPECT_TRUE(store.find("a")->starred);
}

TEST_F(LookAdoptionTest, AnOverwrittenCaptureIsFoundAgainWhenItsFileComesBack) {
  const auto kept = files.disk[pathOf("a")];
  putOver("c", "a");
  const AdoptedLook adopted = adoptLook(store, look("a"));
  EXPECT_EQ(adopted.renamed, 1U);
  EXPECT_EQ(store.find("c")->path, pathOf("a"));
  EXPECT_EQ(adopted.gone, EntryList{store.find("a")});
  EXPECT_EQ(store.find("a")->path, "/one/a 2.png");
  EXPECT_EQ(reachOf(files, *store.find("a")), FileReach::fileGone);
  EXPECT_THAT(look("a").displaced, IsEmpty());
  files.disk["/one/from backup.png"] = kept;
  EXPECT_EQ(adoptLook(store, look("a")).renamed, 1U);
  EXPECT_EQ(store.find("a")->path, "/one/from backup.png");
}

TEST_F(LookAdoptionTest, AnEntrysFileAndItsOriginalGetTheirNamesTogether) {
  for (const char* const id : {"a", "b"}) {
    const std::string original = std::string("/one/") + id + " original.png";
    files.put(original, std::string("what was ") + id);
    ASSERT_TRUE(store
                    .update(id,
                            [&](ScreenshotEntry& entry) {
                              entry.originalPath = original;
                              entry.originalIdentity = identifyFile(files, original);
                            })
                    .has_value());
  }
  const std::string original = store.find("a")->originalPath.value();
  const auto swapAll = [&] {
    swap();
    std::swap(files.disk[original], files.disk["/one/b original.png"]);
  };
  swapAll();
  {
    const auto rewriting = store.claims().claim("b", EntryWork::rewriting);
    EXPECT_THAT(adoptLook(store, look("a")).unsettled, UnorderedElementsAre("a", "b"));
    EXPECT_EQ(store.find("a")->originalPath, original);
  }
  EXPECT_EQ(adoptLook(store, look("a")).renamed, 2U);
  EXPECT_EQ(files.text(*store.find("a")->originalPath), "what was a");
  EXPECT_EQ(files.text(store.find("a")->path), "pixels of a");
  EXPECT_EQ(store.find("b")->originalPath, original);
  EXPECT_EQ(*store.find("b")->originalIdentity, *identifyFile(files, original));

  // Its path alone says nothing of a file that is not there.
  ASSERT_TRUE(store.update("a", [](ScreenshotEntry& entry) { entry.originalPath = "/one/z.png"; })
                  .has_value());
  EXPECT_FALSE(store.find("a")->originalIdentity.has_value());
}

}  // namespace
}  // namespace vantorel
