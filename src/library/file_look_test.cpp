#include "library/file_look.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/file_reach.hpp"
#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

using testing::IsEmpty;

class FileLookTest : public testing::Test {
 protected:
  /// A capture that was seen where it is.
  EntryPointer add(const std::string& path) {
    if (!files.disk.contains(path)) files.put(path, "pixels of " + path);
    ScreenshotEntry entry;
    entry.id = path;
    entry.path = path;
    entry.fileIdentity = identifyFile(files, path);
    EXPECT_TRUE(entry.fileIdentity.has_value());
    scope.entries.push_back(std::make_shared<const ScreenshotEntry>(std::move(entry)));
    return scope.entries.back();
  }

  FileLook look() {
    return lookForFiles(files, scope.entries, scope, [](std::size_t, std::size_t) { return true; });
  }

  void rename(const Path& from, const Path& to) {
    ASSERT_TRUE(files.moveNew(from, to).has_value());
  }

  FakeFiles files;
  FileLookScope scope;
};

TEST_F(FileLookTest, AFileIsGoneOnlyFromTheFolderOfTheDiskItWasSeenOn) {
  const Path folder = "/home/me/nas";
  files.mounts = {folder};
  const EntryPointer entry = add("/home/me/nas/a.png");
  EXPECT_EQ(reachOf(files, *entry), FileReach::there);
  files.disk.erase(entry->path);
  EXPECT_EQ(reachOf(files, *entry), FileReach::fileGone);

  struct Case {
    const char* what;
    std::set<Path> mounts;
    std::map<Path, FolderLocation> mounted;
    FileReach reach;
  };
  const auto away = FileReach::folderUnreachable;
  for (const Case& now : std::initializer_list<Case>{
           {"not mounted", {}, {}, away},
           {"another disk of the name", {folder}, {{folder, {"another disk", "/"}}}, away},
           {"another folder of the disk",
            {folder},
            {{folder, {"disk of /home/me/nas", "/x"}}},
            away},
           {"the disk again", {folder}, {}, FileReach::fileGone}}) {
    files.mounts = now.mounts;
    files.mounted = now.mounted;
    EXPECT_EQ(reachOf(files, *entry), now.reach) << now.what;
    const FileLook found = look();
    EXPECT_EQ(found.gone.empty(), now.reach != FileReach::fileGone) << now.what;
    EXPECT_EQ(found.outOfReach.empty(), now.reach == FileReach::fileGone) << now.what;
    EXPECT_EQ(goneOf(files, scope.entries), found.gone) << now.what;
  }
  files.mounts = {};
  files.folders.erase(folder);
  EXPECT_EQ(reachOf(files, *entry), away) << "the mount point went with the disk";
  files.mounts = {"/home/me"};
  files.mounted = {{"/home/me", {"disk of /home/me/nas", "/"}}};
  EXPECT_EQ(reachOf(files, *entry), FileReach::folderGone)
      << "the disk is there, the folder is not";
}

TEST_F(FileLookTest, ABindMountThatWentTakesNothingWithIt) {
  files.mounts = {"/home/me/shots"};
  files.mounted = {{"/home/me/shots", {"disk of /", "/data/shots"}}};
  const EntryPointer entry = add("/home/me/shots/a.png");
  files.disk.clear();
  files.mounts = {};
  EXPECT_EQ(reachOf(files, *entry), FileReach::folderUnreachable) << "on the very same disk";
  EXPECT_TRUE(isUnmounted(files, "/home/me/shots", *entry->fileIdentity));
  files.mounts = {"/home/me/shots"};
  EXPECT_EQ(reachOf(files, *entry), FileReach::fileGone);
}

TEST_F(FileLookTest, WhatWasNeverSeenIsGoneFromAFolderThatHoldsSomething) {
  files.put("/mnt/shots/a.png", "pixels");
  ScreenshotEntry entry;
  entry.path = "/mnt/shots/a.png";
  files.disk.clear();
  EXPECT_EQ(reachOf(files, entry), FileReach::folderUnreachable) << "it may be a mount point";
  EXPECT_EQ(reachOf(files, Path(entry.path)), FileReach::fileGone) << "no disk just for its name";
  files.put("/mnt/shots/b.png", "pixels");
  EXPECT_EQ(reachOf(files, entry), FileReach::fileGone);
  files.put("/media/stick/b.png", "pixels");
  entry.path = "/media/stick/a.png";
  EXPECT_EQ(reachOf(files, entry), FileReach::folderUnreachable) << "only disks are there";

  // A disk that does not say what it is takes nothing away.
  const EntryPointer seen = add("/mnt/shots/c.png");
  files.disk.erase("/mnt/shots/c.png");
  files.withoutLocation = {"/mnt/shots"};
  EXPECT_EQ(reachOf(files, *seen), FileReach::unknown);
}

TEST_F(FileLookTest, AMountPointWithoutItsDiskIsKnownFromWhatWasSeenThere) {
  files.mounts = {"/home/me/nas"};
  const EntryPointer entry = add("/home/me/nas/shots/a.png");
  EXPECT_FALSE(isUnmounted(files, "/home/me/nas/shots", *entry->fileIdentity));
  files.mounts = {};
  EXPECT_TRUE(isUnmounted(files, "/home/me/nas/shots", *entry->fileIdentity));
  files.mounts = {"/home/me/nas"};
  files.mounted = {{"/home/me/nas", {"a new disk", "/"}}};
  EXPECT_FALSE(isUnmounted(files, "/home/me/nas/shots", *entry->fileIdentity));
  const EntryPointer own = add("/home/me/a.png");
  files.mounts = {"/"};
  files.mounted = {{"/", {"a new system disk", "/"}}};
  EXPECT_FALSE(isUnmounted(files, "/home/me", *own->fileIdentity));
  EXPECT_EQ(lastSeenIn("/home/me/nas/shots/", scope.entries), &*entry->fileIdentity);
  EXPECT_EQ(lastSeenIn("/home/me/nas", scope.entries), nullptr);
}

TEST_F(FileLookTest, AFileThatWasRenamedOrMovedAmongTheFoldersIsFound) {
  for (const char* const path : {"/one/a.png", "/one/b.png", "/one/c.png", "/two/d.png"}) add(path);
  scope.entries.push_back(std::make_shared<const ScreenshotEntry>([this] {
    ScreenshotEntry copy = *scope.entries[0];
    copy.id = "shares the file of a";
    return copy;
  }()));
  files.folders.insert("/elsewhere");
  rename("/one/a.png", "/one/holiday.png");
  rename("/one/b.png", "/two/b.png");
  rename("/one/c.png", "/elsewhere/c.png");
  // As large and as old, but another file.
  files.put("/one/like c.png", "pixels of /one/c.png");
  const FileLook found = look();
  std::map<std::string, std::string> renamed;
  for (const SeenFile& file : found.renamed) renamed[file.entry->id] = file.path;
  EXPECT_EQ(renamed,
            (std::map<std::string, std::string>{{"/one/a.png", "/one/holiday.png"},
                                                {"shares the file of a", "/one/holiday.png"},
                                                {"/one/b.png", "/two/b.png"}}));
  ASSERT_EQ(found.gone.size(), 1U);
  EXPECT_EQ(found.gone[0]->id, "/one/c.png");
  EXPECT_THAT(found.learned, IsEmpty());

  // What another entry shows is that one's.
  add("/two/b.png");
  EXPECT_EQ(look().renamed.size(), 2U);

  // Heard of, and written to since.
  rename("/two/d.png", "/two/e.png");
  files.put("/two/e.png", "drawn upon");
  scope.heardMoves = {{"/two/d.png", "/two/e.png"}};
  EXPECT_EQ(look().renamed.size(), 3U);
}

}  // namespace
}  // namespace vantorel
