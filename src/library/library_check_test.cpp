#include "library/library_check.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/image.hpp"
#include "base/time_text.hpp"
#include "library/capture_file_name.hpp"
#include "library/rewrite_journal.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const auto keepGoing = [](std::size_t, std::size_t) { return true; };

TEST(LibraryCheckTest, WhatIsNoFileIsADamagedPictureAndNotOpened) {
  FakeFiles files;
  files.folders.insert({"/captures", "/captures/folder.png"});
  files.put("/captures/whole.png", "x");
  LibraryScope scope{.paths = {"/data", "/caches"}, .captureFolders = {"/captures"}};
  for (const char* const id : {"folder", "whole"}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = fmt::format("/captures/{}.png", id);
    scope.entries.push_back(std::make_shared<const ScreenshotEntry>(std::move(entry)));
  }
  scope.isWholePicture = [](const PictureBytes&) { return true; };
  const LibraryFindings findings = checkLibrary(files, scope, keepGoing);
  ASSERT_EQ(findings.damaged.size(), 1U);
  EXPECT_EQ(findings.damaged[0]->id, "folder");
}

TEST(LibraryCheckTest, WhatDoesNotFitIsFoundAndNothingElse) {
  FakeFiles files;
  files.now = 100;
  LibraryScope scope{.paths = {"/data", "/caches"},
                     .captureFolders = {"/empty", "/captures"},
                     .originals = "/data/Originals",
                     .stagedBefore = 1500,
                     .begunBefore = 1000,
                     .lookedAt = 1600};
  const auto add = [&](const std::string& id, const std::string& path,
                       std::optional<std::string> original = {}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = path;
    entry.originalPath = std::move(original);
    scope.entries.push_back(std::make_shared<const ScreenshotEntry>(std::move(entry)));
  };
  const std::string good = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  add("good", good, "/data/Originals/good.png");
  add("gone", "/captures/gone.png");
  add("away", "/media/stick/away.png");
  add("staged", "/data/Staged Captures/vantorel-5.png");
  for (const std::string& path :
       {good, std::string("/data/Originals/good.png"), std::string("/data/history.json"),
        std::string("/data/Staged Captures/vantorel-5.png"), std::string("/captures/holiday.png"),
        std::string("/captures/Screenshot 2026-13-01 at 14.05.09.png"),
        std::string("/captures/Screenshot 2026-03-01 at 14.05.09.txt"),
        std::string("/captures/Screenshot 2026-03-01 at 14.05.09 copy.png"),
        std::string("/captures/.film.mp4.partial"), std::string("/data/undo.json")}) {
    files.put(path, "x");
  }
  const LibraryFindings whole = checkLibrary(files, scope, keepGoing);
  EXPECT_THAT(whole.filesWithoutEntry, IsEmpty());
  EXPECT_THAT(whole.originalsWithoutEntry, IsEmpty());
  EXPECT_THAT(whole.temporaries, IsEmpty());
  EXPECT_THAT(whole.stagedCaptures, IsEmpty());
  EXPECT_THAT(whole.journals, IsEmpty());
  ASSERT_EQ(whole.look.gone.size(), 1U);
  EXPECT_EQ(whole.look.gone[0]->id, "gone");
  ASSERT_EQ(whole.look.outOfReach.size(), 1U);
  EXPECT_EQ(whole.look.outOfReach[0]->id, "away");

  const std::string lost = "/captures/My shot 2026-03-01 at 14.05.09 3 2.webp";
  for (const std::string& path :
       {lost, std::string("/captures/.vantorel-7.partial"),
        std::string("/data/Redacted Originals/secret.png"),
        std::string("/data/Staged Captures/vantorel-6.png"),
        std::string("/data/history.json.staging"), std::string("/data/deletions.json")}) {
    files.put(path, "x");
  }
  files.put("/data/history-0a.unreadable.json", "{}");
  files.put("/data/deletions-0a.unreadable.json", "a journal, no index");
  files.now = 1200;
  const std::string half = "/captures/.vantorel-8.partial";
  files.put(half, "being written by this run");
  const std::string lateParked = "/data/history-0b.unreadable.json";
  files.now = 2000;
  files.put(lateParked, "{}");
  files.put("/data/relocation.json", "{}");
  const Path filing = "/captures/Screenshot 2026-03-02 at 14.05.09.png";
  files.put(filing, "being filed now");
  scope.filesOfStaged = [&] { return std::vector{filing}; };
  const std::string staged = "/data/Staged Captures/vantorel-7.png";
  files.put(staged, "to be filed by another process");
  const std::string late = "/captures/Screenshot 2026-03-03 at 14.05.09.png";
  files.put(late, "forgotten just now");
  const std::string converting = "/captures/Screenshot 2026-03-04 at 14.05.09";
  const std::string original = "/data/Originals/converting.png";
  const FakeRunners runners;
  RewriteJournal rewrites(files, scope.paths, runners);
  ASSERT_TRUE(rewrites.begin("converting", converting + ".png", original).has_value());
  files.put(converting + ".jpg", "made, and not yet in the index");
  files.put(original, "kept");
  ASSERT_TRUE(
      rewrites.willMake("converting", converting + ".jpg", converting + ".jpg").has_value());
  scope.journalsInUse.insert("/data/relocation.json");
  const auto before = files.changes;
  const LibraryFindings broken = checkLibrary(files, scope, keepGoing);
  EXPECT_EQ(files.changes, before);
  EXPECT_THAT(broken.filesWithoutEntry, ElementsAre(lost, late));
  EXPECT_THAT(broken.originalsWithoutEntry, ElementsAre("/data/Redacted Originals/secret.png"));
  EXPECT_THAT(broken.temporaries,
              ElementsAre("/captures/.vantorel-7.partial", "/data/history.json.staging"));
  EXPECT_THAT(broken.stagedCaptures, ElementsAre("/data/Staged Captures/vantorel-6.png"));
  EXPECT_THAT(broken.parkedIndexes, ElementsAre("/data/history-0a.unreadable.json", lateParked));
  EXPECT_THAT(broken.journals, ElementsAre("/data/deletions.json"));
  EXPECT_THAT(broken.notJudged, ElementsAre(half, staged));

  const LibraryFindings stopped =
      checkLibrary(files, scope, [](std::size_t done, std::size_t) { return done < 2; });
  EXPECT_TRUE(stopped.look.wasStopped);
  EXPECT_EQ(stopped.look.gone.size(), 1U);
  EXPECT_THAT(stopped.journals, IsEmpty());
}

TEST(LibraryCheckTest, WhatMayBeAnEntrysFileIsNotFiledAgain) {
  FakeFiles files;
  LibraryScope scope{.paths = {"/data", "/caches"}, .captureFolders = {"/captures"}};
  const std::string shown = "/captures/Screenshot 2026-03-01 at 14.05.09.jpg";
  const std::string original = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  for (const std::string& path : {shown, original}) files.put(path, "content of " + path);
  ScreenshotEntry entry;
  entry.path = shown;
  entry.fileIdentity = identifyFile(files, shown);
  entry.originalPath = original;
  entry.originalIdentity = identifyFile(files, original);
  scope.entries.push_back(std::make_shared<const ScreenshotEntry>(entry));

  // The disk numbers its files anew, and of each there are two under other names.
  std::uint64_t number = 1000;
  for (const std::string& path : {shown, original}) {
    for (const int copied : {2, 3}) {
      auto copy = std::make_shared<FakeFiles::File>(*files.disk[path]);
      copy->status.inode = ++number;
      files.disk[Path(path).replace_filename(numberedName(path, copied))] = copy;
    }
    files.disk.erase(path);
  }
  const auto expectDoubt = [&](const char* what) {
    const LibraryFindings found = checkLibrary(files, scope, keepGoing);
    EXPECT_EQ(found.look.inDoubt.size(), 2U) << what;
    EXPECT_THAT(found.look.gone, IsEmpty()) << what;
    EXPECT_THAT(found.withoutOriginal, IsEmpty()) << what;
    EXPECT_THAT(found.filesWithoutEntry, IsEmpty()) << what;
  };
  expectDoubt("nothing has their names");
  files.put(original, "somebody's picture");
  expectDoubt("another file has the original's name");
}

TEST(LibraryCheckTest, WhatAnythingStillNamesIsNobodysLeftover) {
  FakeFiles files;
  LibraryScope scope{.unreadPaths = {"/captures/Clip 2026-03-01 at 14.05.09.mp4", "/o/unread.png"},
                     .paths = {"/data", "/caches"},
                     .captureFolders = {"/captures"},
                     .originals = "/o",
                     .stagedBefore = 1500,
                     .begunBefore = 1000,
                     .lookedAt = 1600};
  ScreenshotEntry entry;
  entry.path = "/captures/shown.png";
  entry.layers.emplace().emplace_back().path = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  scope.entries.push_back(std::make_shared<const ScreenshotEntry>(entry));
  for (const std::string& path : scope.unreadPaths) files.put(path, "x");
  files.put(entry.path, "x");
  files.put(*entry.layers->front().path, "x");
  files.put("/o/parked.png", "x");
  files.put("/o/orphan.png", "x");
  const std::string copy = "/data/history-0a.unreadable.json";
  files.put(copy, R"({"version":9,"items":[{"kept":{"as":"\/o/parked.png"}}]})");

  const LibraryFindings parked = checkLibrary(files, scope, keepGoing);
  EXPECT_THAT(parked.filesWithoutEntry, IsEmpty());
  EXPECT_THAT(parked.originalsWithoutEntry, ElementsAre("/o/orphan.png"));
  EXPECT_THAT(parked.originalsInDoubt, ElementsAre("/o/parked.png"));

  // Half a copy may have named anything, and so may an index that gave no entries.
  files.put(copy, R"({"version":4,"entries":[{"id":"a","origi)");
  EXPECT_THAT(checkLibrary(files, scope, keepGoing).originalsWithoutEntry, IsEmpty());
  files.disk.erase(copy);
  EXPECT_EQ(checkLibrary(files, scope, keepGoing).originalsWithoutEntry.size(), 2U);
  scope.indexWasRead = false;
  EXPECT_EQ(checkLibrary(files, scope, keepGoing).originalsInDoubt.size(), 2U);
}

TEST(LibraryCheckTest, AFileUnderAnotherNameIsNoCaptureOfItsOwn) {
  FakeFiles files;
  LibraryScope scope{.paths = {"/home/data", "/caches"},
                     .captureFolders = {"/link"},
                     .originals = "/home/data/Originals",
                     .stagedBefore = 1500,
                     .begunBefore = 1000,
                     .lookedAt = 1600};
  // What is in the first of two names of a folder is in the second.
  const auto put = [&](const std::string& folder, const std::string& other,
                       const std::string& name) {
    files.put(folder + name, name);
    files.folders.insert(Path(other));
    files.disk[other + name] = files.disk[folder + name];
    files.folderNumbers[Path(folder)] = files.folderNumbers[Path(other)] = folder.size();
  };
  const std::string shot = "/Screenshot 2026-03-01 at 14.05.09.png";
  const std::string strange = "/Screenshot 2026-03-02 at 14.05.09.png";
  put("/disk/shots", "/link", shot);
  put("/disk/shots", "/link", strange);
  put("/disk/home/data/Originals", "/home/data/Originals", "/a.png");
  // A backup that takes no room, and the file behind a link.
  files.disk["/disk/shots/Screenshot 2026-03-01 at 14.05.09 2.png"] =
      files.disk["/disk/shots" + shot];
  const std::string store = "/disk/shots/Screenshot 2026-03-03 at 14.05.09.png";
  files.put(store, "behind a link");
  files.links["/disk/shots/linked.png"] = store;
  const auto add = [&](const std::string& path, const std::string& original) {
    ScreenshotEntry entry;
    entry.id = path;
    entry.path = path;
    if (!original.empty()) entry.originalPath = original;
    scope.entries.push_back(std::make_shared<const ScreenshotEntry>(std::move(entry)));
  };
  add("/disk/shots" + shot, "/disk/home/data/Originals/a.png");
  add("/disk/shots/linked.png", "");
  const LibraryFindings found = checkLibrary(files, scope, keepGoing);
  EXPECT_THAT(found.filesWithoutEntry, ElementsAre("/disk/shots" + strange));
  EXPECT_THAT(found.originalsWithoutEntry, IsEmpty());
  EXPECT_THAT(checkOriginals(files, scope).originalsWithoutEntry, IsEmpty());

  // Another folder has come in the place of the link.
  files.folderNumbers["/link"] = 99;
  files.disk.erase("/link" + strange);
  files.put("/link" + shot, "another picture");
  EXPECT_THAT(checkLibrary(files, scope, keepGoing).filesWithoutEntry,
              ElementsAre("/disk/shots" + strange, "/link" + shot));
}

TEST(LibraryCheckTest, AnEntryIsMadeFromTheFileAndItsNameAlone) {
  FakeFiles files;
  FakeImageCodec codec;
  const Path path = "/captures/Screenshot 2026-03-01 at 14.05.09 3.png";
  files.put(path, *codec.encode(MutableImage({3, 2}, PixelFormat::bgrx).finish(),
                                {.format = ExportFormat::png}));
  const auto entry = entryForFile(files, codec, path);
  ASSERT_TRUE(entry.has_value()) << entry.error().reason;
  EXPECT_EQ(tableTime(entry->capturedAt), "2026-03-01 14:05:09");
  EXPECT_EQ(entry->pixelWidth, 3);
  EXPECT_EQ(entry->pixelHeight, 2);
  EXPECT_EQ(entry->path, path.string());
  files.put(path, "half a picture");
  EXPECT_FALSE(entryForFile(files, codec, path).has_value());
}

}  // namespace
}  // namespace vantorel
