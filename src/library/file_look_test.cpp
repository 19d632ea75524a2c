#include "library/file_look.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/file_reach.hpp"
#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

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

  /// A capture that was seen with its original.
  EntryPointer addConverted(const std::string& path, const std::string& original) {
    ScreenshotEntry entry = *add(path);
    files.put(original, "what it was: " + path);
    entry.originalPath = original;
    if (!original.starts_with("/data/")) entry.originalIdentity = identifyFile(files, original);
    scope.entries.back() = std::make_shared<const ScreenshotEntry>(std::move(entry));
    return scope.entries.back();
  }

  void change(const SeenFile& file) {
    ScreenshotEntry changed = *file.entry;
    changed.path = file.path;
    changed.fileIdentity = file.identity;
    std::ranges::replace(scope.entries, file.entry,
                         std::make_shared<const ScreenshotEntry>(std::move(changed)));
  }

  static std::map<std::pair<std::string, FileRole>, std::string> placesOf(
      const std::vector<SeenFile>& seen) {
    std::map<std::pair<std::string, FileRole>, std::string> places;
    for (const SeenFile& file : seen) places[{file.entry->id, file.role}] = file.path;
    return places;
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
  const FolderView folder(files, "/mnt/shots");
  EXPECT_EQ(folder.reachOf(entry), FileReach::fileGone);
  files.disk.erase("/mnt/shots/b.png");
  EXPECT_EQ(folder.reachOf(entry), FileReach::fileGone) << "it is listed once, not for each entry";
  files.put("/media/stick/b.png", "pixels");
  entry.path = "/media/stick/a.png";
  EXPECT_EQ(reachOf(files, entry), FileReach::folderUnreachable) << "only disks are there";

  // A disk that does not say what it is takes nothing away.
  const EntryPointer seen = add("/mnt/shots/c.png");
  files.disk.erase("/mnt/shots/c.png");
  files.withoutLocation = {"/mnt/shots"};
  EXPECT_EQ(reachOf(files, *seen), FileReach::unknown);
}

TEST_F(FileLookTest, AnotherFolderOfTheNameTakesNothingWithIt) {
  const EntryPointer kept = add("/captures/kept.png");
  const EntryPointer lacking = add("/captures/lacking.png");
  files.disk.erase("/captures/lacking.png");
  EXPECT_EQ(look().gone, EntryList{lacking});

  // Put back from a backup.
  files.folderNumbers["/captures"] = 99;
  files.put("/captures/kept.png", files.text("/captures/kept.png"));
  FileLook found = look();
  EXPECT_THAT(found.gone, IsEmpty());
  EXPECT_EQ(found.outOfReach, EntryList{lacking});
  EXPECT_EQ(found.replaced, EntryList{lacking});
  ASSERT_EQ(found.learned.size(), 1U);
  EXPECT_EQ(found.learned[0].entry, kept);
  EXPECT_EQ(found.learned[0].identity.folderFile, 99);
  EXPECT_EQ(goneOf(files, scope.entries), found.replaced) << "for who says that they may go";

  // The name of what it lacks is given to another of its files.
  rename("/captures/kept.png", "/captures/lacking.png");
  found = look();
  EXPECT_THAT(found.gone, IsEmpty());
  EXPECT_EQ(found.outOfReach, EntryList{lacking});
  EXPECT_EQ(found.replaced, EntryList{lacking});
  ASSERT_EQ(found.displaced.size(), 1U);
  EXPECT_EQ(found.displaced[0].identity, *lacking->fileIdentity);
  ASSERT_EQ(found.renamed.size(), 1U);
  EXPECT_EQ(found.renamed[0].path, "/captures/lacking.png") << "kept is as large and as old";
  files.disk.erase("/captures/lacking.png");
  EXPECT_EQ(look().outOfReach, (EntryList{kept, lacking}));
}

TEST_F(FileLookTest, AnOriginalThatAnotherFolderOrABrokenLinkLacksIsNotLost) {
  const EntryPointer entry = addConverted("/shots/a.jpg", "/shots/a.png");
  files.folderNumbers["/shots"] = 99;
  std::map<FileRole, std::int64_t> folders;
  for (const SeenFile& file : look().learned) {
    folders[file.role] = file.identity.folderFile.value_or(0);
  }
  EXPECT_EQ(folders,
            (std::map<FileRole, std::int64_t>{{FileRole::shown, 99}, {FileRole::original, 99}}));

  const auto expectOutOfReach = [&](const char* what) {
    const FileLook found = look();
    EXPECT_THAT(found.lostOriginals, IsEmpty()) << what;
    EXPECT_EQ(found.originalsOutOfReach, EntryList{entry}) << what;
    EXPECT_THAT(found.outOfReach, IsEmpty()) << what << ": the capture is there";
  };
  const auto original = files.disk["/shots/a.png"];
  files.put("/shots/a.png", "somebody's picture");
  expectOutOfReach("another file in another folder of the name");
  files.disk.erase("/shots/a.png");
  expectOutOfReach("not in another folder of the name");
  files.disk["/shots/b.png"] = original;
  EXPECT_EQ(look().renamed.size(), 1U) << "there under another name";
  files.disk.erase("/shots/b.png");

  files.folderNumbers.erase("/shots");
  EXPECT_EQ(look().lostOriginals.size(), 1U) << "the folder again";
  files.links["/shots/a.png"] = "/store/a.png";
  expectOutOfReach("a link that leads nowhere");
}

TEST_F(FileLookTest, ALinkThatLeadsNowhereIsToldAndKeepsItsEntry) {
  const EntryPointer entry = add("/captures/a.png");
  files.folders.insert("/store");
  rename("/captures/a.png", "/store/a.png");
  files.links["/captures/a.png"] = "/store/a.png";
  EXPECT_EQ(reachOf(files, *entry), FileReach::there);
  EXPECT_THAT(look().outOfReach, IsEmpty());
  files.disk.erase("/store/a.png");
  EXPECT_EQ(reachOf(files, *entry), FileReach::linkBroken);
  const FileLook found = look();
  EXPECT_THAT(found.gone, IsEmpty());
  EXPECT_EQ(found.outOfReach, EntryList{entry});
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
  rename("/one/a.png", "/one/.holiday.png");
  rename("/one/b.png", "/two/b.png");
  rename("/one/c.png", "/elsewhere/c.png");
  // As large and as old, but another file.
  files.put("/one/like c.png", "pixels of /one/c.png");
  const FileLook found = look();
  std::map<std::string, std::string> renamed;
  for (const SeenFile& file : found.renamed) renamed[file.entry->id] = file.path;
  EXPECT_EQ(renamed,
            (std::map<std::string, std::string>{{"/one/a.png", "/one/.holiday.png"},
                                                {"shares the file of a", "/one/.holiday.png"},
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

TEST_F(FileLookTest, AFileIsWhosItIsWhateverNamesWereSwapped) {
  const auto shift = [this](const std::vector<std::string>& cycle) {
    files.folders.insert("/t");
    rename(cycle.front(), "/t/aside");
    for (std::size_t i = 1; i < cycle.size(); ++i) rename(cycle[i], cycle[i - 1]);
    rename("/t/aside", cycle.back());
  };
  const auto namesOf = [](const std::vector<SeenFile>& seen) {
    std::map<std::string, std::string> names;
    for (const SeenFile& file : seen) names[file.entry->id] = file.path;
    return names;
  };
  using Names = std::map<std::string, std::string>;
  for (const char* const path : {"/one/a", "/one/b", "/two/c", "/one/d", "/one/e"}) add(path);
  scope.entries.push_back(std::make_shared<const ScreenshotEntry>([this] {
    ScreenshotEntry copy = *scope.entries[0];
    copy.id = "shares the file of a";
    return copy;
  }()));

  shift({"/one/a", "/one/b", "/two/c"});
  const Names shifted{{"/one/a", "/two/c"},
                      {"shares the file of a", "/two/c"},
                      {"/one/b", "/one/a"},
                      {"/two/c", "/one/b"}};
  EXPECT_EQ(namesOf(look().renamed), shifted);
  // Whoever looks for one of them hears of all whose names are concerned.
  const auto lookForOne = [this](std::size_t place) {
    return lookForFiles(files, {scope.entries[place]}, scope,
                        [](std::size_t, std::size_t) { return true; });
  };
  EXPECT_EQ(namesOf(lookForOne(1).renamed), shifted);
  EXPECT_THAT(lookForOne(3).renamed, IsEmpty()) << "nothing is the matter with d";
  shift({"/two/c", "/one/b", "/one/a"});
  EXPECT_THAT(look().renamed, IsEmpty());

  // Written to in place after the swap, and after a swap that was heard.
  shift({"/one/a", "/one/b"});
  files.disk["/one/a"]->status.modified += 5;
  EXPECT_EQ(
      namesOf(look().renamed),
      (Names{{"/one/a", "/one/b"}, {"shares the file of a", "/one/b"}, {"/one/b", "/one/a"}}));
  files.disk["/one/b"]->status.modified += 5;
  scope.heardMoves = {{"/one/a", "/one/b"}, {"/one/b", "/one/a"}};
  EXPECT_EQ(look().renamed.size(), 3U);
  files.disk["/one/a"]->status.modified -= 5;
  files.disk["/one/b"]->status.modified -= 5;
  scope.heardMoves = {};
  shift({"/one/a", "/one/b"});

  // An editor puts a new file in the place of the old one, which it may keep under another name.
  rename("/one/d", "/one/d~");
  files.put("/one/d", "drawn upon");
  FileLook found = look();
  EXPECT_THAT(found.renamed, IsEmpty());
  EXPECT_THAT(found.gone, IsEmpty());
  EXPECT_EQ(namesOf(found.learned), (Names{{"/one/d", "/one/d"}}));
}

TEST_F(FileLookTest, AFileThatHasTheNameOfAnOriginalIsStillItsOwnEntrys) {
  const EntryPointer converted = add("/shots/a.jpg");
  files.put("/shots/a.png", "what a.jpg was");
  ScreenshotEntry entry = *converted;
  entry.originalPath = "/shots/a.png";
  scope.entries.back() = std::make_shared<const ScreenshotEntry>(std::move(entry));
  const EntryPointer other = add("/shots/b.png");
  EXPECT_THAT(look().renamed, IsEmpty());

  rename("/shots/a.png", "/shots/t.png");
  rename("/shots/b.png", "/shots/a.png");
  rename("/shots/t.png", "/shots/b.png");
  using Places = std::map<std::pair<std::string, FileRole>, std::string>;
  // Also when only the entry with the original is looked for.
  for (const EntryList& wanted : {scope.entries, EntryList{scope.entries[0]}}) {
    const FileLook found =
        lookForFiles(files, wanted, scope, [](std::size_t, std::size_t) { return true; });
    EXPECT_EQ(placesOf(found.renamed),
              (Places{{{other->id, FileRole::shown}, "/shots/a.png"},
                      {{converted->id, FileRole::original}, "/shots/b.png"}}))
        << "never seen, and yet what had the name before";
    EXPECT_THAT(found.gone, IsEmpty());
    EXPECT_THAT(found.lostOriginals, IsEmpty());
  }
  files.disk.erase("/shots/b.png");
  const FileLook over = look();
  ASSERT_EQ(over.lostOriginals.size(), 1U);
  EXPECT_EQ(placesOf(over.displaced),
            (Places{{{converted->id, FileRole::original}, "/shots/a 2.png"}}));
}

TEST_F(FileLookTest, AnOriginalIsWhatWasSeenWhateverHasItsName) {
  using Places = std::map<std::pair<std::string, FileRole>, std::string>;
  scope.paths.data = "/data";
  const EntryPointer a = addConverted("/shots/a.jpg", "/shots/a.png");
  const EntryPointer b = addConverted("/shots/b.jpg", "/elsewhere/b.png");
  addConverted("/shots/c.jpg", "/data/Originals/c.png");
  files.disk.erase("/data/Originals/c.png");
  const auto isAsItWas = [this] {
    const FileLook found = look();
    return found.renamed.empty() && found.learned.empty() && found.lostOriginals.empty();
  };
  EXPECT_TRUE(isAsItWas()) << "nobody looks into the library's own folder";

  files.folders.insert("/t");
  const auto swap = [this](const Path& one, const Path& other) {
    rename(one, "/t/aside");
    rename(other, one);
    rename("/t/aside", other);
  };
  swap("/shots/a.png", "/elsewhere/b.png");
  swap("/shots/a.jpg", "/shots/b.jpg");
  for (const EntryList& wanted : {scope.entries, EntryList{a}}) {
    EXPECT_EQ(placesOf(lookForFiles(files, wanted, scope, [](auto, auto) { return true; }).renamed),
              (Places{{{a->id, FileRole::shown}, "/shots/b.jpg"},
                      {{b->id, FileRole::shown}, "/shots/a.jpg"},
                      {{a->id, FileRole::original}, "/elsewhere/b.png"},
                      {{b->id, FileRole::original}, "/shots/a.png"}}));
  }
  swap("/shots/a.jpg", "/shots/b.jpg");
  swap("/shots/a.png", "/elsewhere/b.png");

  // Renamed, while another picture gets its name.
  rename("/shots/a.png", "/shots/report.png");
  files.put("/shots/a.png", "somebody's picture");
  EXPECT_EQ(placesOf(look().renamed), (Places{{{a->id, FileRole::original}, "/shots/report.png"}}));
  const auto original = files.disk["/shots/report.png"];
  files.disk.erase("/shots/report.png");
  const FileLook replaced = look();
  ASSERT_EQ(replaced.lostOriginals.size(), 1U);
  EXPECT_EQ(replaced.lostOriginals[0].entry, a);
  EXPECT_TRUE(replaced.lostOriginals[0].isReplaced);
  // Written over in place, the number stays.
  files.disk["/shots/a.png"]->status.inode = original->status.inode;
  EXPECT_EQ(look().lostOriginals.size(), 1U);
  // Touched, or put back from a copy.
  original->status.modified += 5;
  files.disk["/shots/a.png"] = original;
  EXPECT_EQ(placesOf(look().learned), (Places{{{a->id, FileRole::original}, "/shots/a.png"}}));
  original->status.modified -= 5;
  original->status.inode += 1000;
  EXPECT_THAT(look().lostOriginals, IsEmpty());
  original->status.inode -= 1000;
  EXPECT_TRUE(isAsItWas());

  // Put over the file made from it, it is what the entry shows.
  files.disk["/shots/a.jpg"] = original;
  files.disk.erase("/shots/a.png");
  const FileLook restored = look();
  EXPECT_THAT(restored.gone, IsEmpty());
  EXPECT_EQ(placesOf(restored.learned), (Places{{{a->id, FileRole::shown}, "/shots/a.jpg"}}));
  ASSERT_EQ(restored.lostOriginals.size(), 1U);
}

TEST_F(FileLookTest, ADiskThatNumbersItsFilesAnewTellsThemBySizeAndTime) {
  using Places = std::map<std::pair<std::string, FileRole>, std::string>;
  EntryList all;
  for (const char* const path : {"/f/a", "/f/b", "/f/c", "/f/d"}) {
    files.now += 1;
    all.push_back(add(path));
  }
  files.folders.insert("/t");
  const auto mountAnew = [this](std::uint64_t by) {
    for (auto& [path, file] : files.disk) file->status.inode += by;
  };
  mountAnew(1000);
  EXPECT_EQ(look().learned.size(), 4U) << "each is where it was";
  rename("/f/a", "/f/holiday");
  rename("/f/b", "/t/aside");
  rename("/f/c", "/f/b");
  rename("/t/aside", "/f/c");
  const Places places{{{"/f/a", FileRole::shown}, "/f/holiday"},
                      {{"/f/b", FileRole::shown}, "/f/c"},
                      {{"/f/c", FileRole::shown}, "/f/b"}};
  EXPECT_EQ(placesOf(look().renamed), places);
  const FileLook one = lookForFiles(files, {all[1]}, scope, [](auto, auto) { return true; });
  EXPECT_EQ(one.renamed.size(), 2U) << "also when only one is asked for";
  // Numbers that go by the names, as where each name is given the next.
  for (std::size_t i : {1, 2, 3}) {
    files.disk[all[i]->path]->status.inode = static_cast<std::uint64_t>(all[i]->fileIdentity->file);
  }
  EXPECT_EQ(placesOf(look().renamed), places);

  // Two may be it: that is for nobody to decide.
  const auto copy = std::make_shared<FakeFiles::File>(*files.disk["/f/holiday"]);
  copy->status.inode += 1;
  files.disk["/f/copy"] = copy;
  const FileLook doubtful = look();
  EXPECT_THAT(doubtful.gone, IsEmpty());
  ASSERT_EQ(doubtful.inDoubt.size(), 1U);
  EXPECT_EQ(doubtful.inDoubt[0].entry, all[0]);
  EXPECT_THAT(doubtful.candidates, UnorderedElementsAre("/f/copy", "/f/holiday"));
  // Also once the others are known by their new numbers, whichever was looked for.
  const EntryList before = scope.entries;
  for (const EntryList& wanted : {before, EntryList{all[1]}}) {
    const FileLook first = lookForFiles(files, wanted, scope, [](auto, auto) { return true; });
    for (const auto* const list : {&first.renamed, &first.learned}) {
      for (const SeenFile& file : *list) change(file);
    }
    EXPECT_EQ(look().inDoubt.size(), 1U) << wanted.size();
    EXPECT_THAT(look().gone, IsEmpty()) << wanted.size();
    files.disk.erase("/f/copy");
    EXPECT_EQ(placesOf(look().renamed), (Places{{{"/f/a", FileRole::shown}, "/f/holiday"}}));
    files.disk["/f/copy"] = copy;
    scope.entries = before;
  }
  // Nor is it gone because another's file got its name.
  rename("/f/d", "/f/a");
  const FileLook displaced = look();
  EXPECT_THAT(displaced.gone, IsEmpty());
  ASSERT_EQ(displaced.inDoubt.size(), 1U);
  EXPECT_EQ(displaced.inDoubt[0].entry, all[0]);
  EXPECT_EQ(placesOf(displaced.displaced), (Places{{{"/f/a", FileRole::shown}, "/f/a 2"}}));
  EXPECT_EQ(displaced.candidates.size(), 2U);
  rename("/f/a", "/f/d");
  files.disk.erase("/f/copy");

  // By a link, the folder has two names; the file is one.
  files.folders.insert("/link");
  files.folderNumbers["/link"] = files.status("/f")->inode;
  for (const auto& [path, file] : std::map(files.disk)) {
    if (path.parent_path() == "/f") files.disk["/link" / path.filename()] = file;
  }
  add("/link/e");
  files.disk["/f/e"] = files.disk["/link/e"];
  EXPECT_EQ(placesOf(look().renamed), places);
  EXPECT_THAT(look().inDoubt, IsEmpty());
  scope.entries.pop_back();
  std::erase_if(files.disk, [](const auto& item) { return item.first.parent_path() == "/link"; });
  files.disk.erase("/f/e");
  files.disk.erase("/f/holiday");
  EXPECT_EQ(look().gone, EntryList{all[0]}) << "none is";
}

TEST_F(FileLookTest, AFilePutOverAnotherTakesItsNameAndNotItsEntry) {
  const EntryPointer over = add("/one/a.png");
  const EntryPointer under = add("/two/b.png");
  const EntryPointer linked = add("/two/c.png");
  files.put("/one/a 2.png", "somebody's");
  rename("/two/b.png", "/t");
  const auto kept = files.disk["/one/a.png"];
  files.disk.erase("/one/a.png");
  rename("/t", "/one/a.png");
  for (const EntryPointer& wanted : {over, under}) {
    const FileLook found =
        lookForFiles(files, {wanted}, scope, [](std::size_t, std::size_t) { return true; });
    ASSERT_EQ(found.renamed.size(), 1U);
    EXPECT_EQ(found.renamed[0].entry, under);
    EXPECT_EQ(found.renamed[0].path, "/one/a.png");
    EXPECT_EQ(found.gone, EntryList{over});
    ASSERT_EQ(found.displaced.size(), 1U);
    EXPECT_EQ(found.displaced[0].path, "/one/a 3.png") << "a name that nobody has";
    EXPECT_EQ(found.displaced[0].identity, *over->fileIdentity);
    EXPECT_THAT(found.learned, IsEmpty());
  }
  // It was only moved aside.
  files.disk["/one/before.png"] = kept;
  EXPECT_THAT(look().gone, IsEmpty());
  EXPECT_EQ(look().renamed.size(), 2U);

  // Two names of one file, as programs make them that save space, are two captures.
  files.disk.erase("/two/c.png");
  ASSERT_TRUE(files.linkNew("/one/a.png", "/two/c.png").has_value());
  scope.entries = {linked, std::make_shared<const ScreenshotEntry>([&] {
                     ScreenshotEntry moved = *under;
                     moved.path = "/one/a.png";
                     return moved;
                   }())};
  const FileLook found = look();
  EXPECT_THAT(found.gone, IsEmpty());
  EXPECT_THAT(found.renamed, IsEmpty());
}

}  // namespace
}  // namespace vantorel
