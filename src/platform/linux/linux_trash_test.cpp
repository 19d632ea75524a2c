#include "platform/linux/linux_trash.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_files.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/served_mount.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr Trash::Attempt firstAttempt = Trash::Attempt::first;

std::string bytesOf(const Path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class LinuxTrashTest : public testing::Test {
 protected:
  void SetUp() override {
    // Not below /tmp, which other programs refuse to look into for the Trash.
    std::string name = (std::filesystem::current_path() / "vantorel-trash-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root = name;
    std::filesystem::create_directory(root / "pictures");
  }
  void TearDown() override { std::filesystem::remove_all(root); }

  Path put(const std::string& name, const std::string& bytes) {
    const Path path = root / "pictures" / name;
    std::ofstream(path) << bytes;
    return path;
  }

  std::string run(const std::string& command) {
    const std::string line =
        "XDG_DATA_HOME='" + (root / "data").string() + "' " + command + " 2>&1";
    std::string output;
    FILE* const pipe = ::popen(line.c_str(), "r");
    std::array<char, 4096> buffer{};
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      output.append(buffer.data(), got);
    }
    EXPECT_EQ(::pclose(pipe), 0) << line << "\n" << output;
    return output;
  }

  Path root;
  LinuxFiles files;
  LinuxClock clock;
};

TEST_F(LinuxTrashTest, WhatGoesIntoTheTrashComesBackByUsAndByOthers) {
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  const std::string odd = "Größe 100%41 [a]\nb.png";
  const Path first = put(odd, "first");
  const auto place = trash.moveToTrash(first);
  ASSERT_TRUE(place.has_value()) << place.error().reason;
  EXPECT_FALSE(std::filesystem::exists(first));
  // Another file of the same name, a whole folder, and a link.
  const auto second = trash.moveToTrash(put(odd, "second"));
  ASSERT_TRUE(second.has_value());
  EXPECT_NE(**second, **place);
  std::filesystem::create_directories(root / "pictures" / "take.vantorelstudio" / "media");
  put("take.vantorelstudio/media/a", "inner");
  ASSERT_TRUE(trash.moveToTrash(root / "pictures" / "take.vantorelstudio").has_value());
  std::filesystem::create_symlink(put("target", "kept"), root / "pictures" / "link");
  ASSERT_TRUE(trash.moveToTrash(root / "pictures" / "link").has_value());
  EXPECT_EQ(bytesOf(root / "pictures" / "target"), "kept");

  const std::string listed = run("trash-list");
  EXPECT_THAT(listed, HasSubstr(first.string()));
  EXPECT_THAT(listed, HasSubstr("take.vantorelstudio"));
  run("sh -c 'cd / && echo 0 | trash-restore " +
      (root / "pictures" / "take.vantorelstudio").string() + "'");
  EXPECT_EQ(bytesOf(root / "pictures/take.vantorelstudio/media/a"), "inner");

  ASSERT_TRUE(trash.restore(**place, first, firstAttempt).has_value());
  EXPECT_EQ(bytesOf(first), "first");
  EXPECT_EQ(trash.restore(**second, first, firstAttempt).error().kind, FailureKind::exists);
  EXPECT_EQ(bytesOf(first), "first");
  EXPECT_EQ(trash.restore(**place, first, firstAttempt).error().kind, FailureKind::notFound);
  // Even when its folder has gone meanwhile.
  ASSERT_TRUE(trash.restore(**second, root / "gone" / "b.png", firstAttempt).has_value());
  EXPECT_EQ(bytesOf(root / "gone" / "b.png"), "second");
  EXPECT_THAT(run("trash-list"), Not(HasSubstr("[a]")));
  EXPECT_EQ(trash.moveToTrash(root / "none").error().kind, FailureKind::notFound);

  // What somebody else put in is never written over.
  put("taken.png", "ours");
  std::ofstream(root / "data/Trash/files/taken.png") << "theirs";
  const auto beside = trash.moveToTrash(root / "pictures" / "taken.png");
  ASSERT_TRUE(beside.has_value());
  EXPECT_EQ(bytesOf(root / "data/Trash/files/taken.png"), "theirs");
  EXPECT_EQ(bytesOf(**beside), "ours");
  EXPECT_FALSE(std::filesystem::exists(root / "data/Trash/info/taken.png.trashinfo"));
  const std::string longName = std::string(240, 'l') + ".png";
  put(longName, "long");
  EXPECT_TRUE(trash.moveToTrash(root / "pictures" / longName).has_value());
  std::string umlauts = ".png";
  while (umlauts.size() < 254) umlauts.insert(0, "ä");
  put(umlauts, "umlauts");
  const auto kept = trash.moveToTrash(root / "pictures" / umlauts);
  ASSERT_TRUE(kept.has_value());
  EXPECT_EQ(Path(**kept).filename().string(), umlauts.substr(umlauts.size() - 238));
}

TEST_F(LinuxTrashTest, AMoveThatWasCutShortBetweenItsTwoNamesIsEnded) {
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  put("a.png", "a");
  const Path path = root / "pictures" / "a.png";
  const Path place = **trash.moveToTrash(path);
  const FileMark mark = FileMark::of(*files.status(place));
  std::filesystem::create_hard_link(place, path);
  const auto found = trash.find(path, mark).value();
  EXPECT_EQ(found->place, place);
  EXPECT_TRUE(found->hadBothNames);
  EXPECT_FALSE(std::filesystem::exists(path));

  std::filesystem::create_hard_link(place, path);
  EXPECT_TRUE(trash.restore(place, path, firstAttempt).has_value());
  EXPECT_EQ(bytesOf(path), "a");
  EXPECT_FALSE(std::filesystem::exists(place));

  // By another name of the folder it is one name, and the only one.
  std::filesystem::remove(root / "data/Trash/info/a.png.trashinfo");
  ASSERT_EQ(**trash.moveToTrash(path), place);
  std::filesystem::create_directory_symlink(place.parent_path(), root / "inside");
  const auto again = trash.find(root / "inside" / "a.png", mark).value();
  EXPECT_EQ(again->place, place);
  EXPECT_FALSE(again->hadBothNames);
  EXPECT_EQ(trash.restore(place, root / "inside" / "a.png", firstAttempt).error().kind,
            FailureKind::exists);
  EXPECT_EQ(bytesOf(place), "a");
}

// A mount may go on showing the old name for seconds after the file has gone.
TEST_F(LinuxTrashTest, AFileIsFoundBehindANameThatOnlySeemsToBeThere) {
  FakeFiles disks;
  FakeRunners runners;
  LinuxTrash trash(disks, runners, "/data", 0);
  const Path path = "/pictures/a.png";
  disks.put(path, "a");
  const Path place = **trash.moveToTrash(path);
  disks.shownAlthoughGone[path] = disks.disk[place];
  EXPECT_EQ(trash.find(path, FileMark::of(*disks.status(place))).value()->place, place);
  EXPECT_EQ(disks.text(place), "a");

  // On the way back, by an attempt whose answer was lost.
  disks.shownAlthoughGone = {{place, disks.disk[place]}};
  disks.disk[path] = disks.disk[place];
  disks.disk.erase(place);
  EXPECT_TRUE(trash.restore(place, path, Trash::Attempt::repeated).has_value());
  EXPECT_EQ(disks.text(path), "a");
}

// A server dies in the middle, and its disk is mounted with other numbers.
TEST_F(LinuxTrashTest, AFileIsKnownThoughItsDiskNumbersFilesAnewWithEachMount) {
  const Path share = root / "share";
  auto server = std::make_unique<ServedMount>(share, root / "served");
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  auto mountAnew = [&, raisedBy = 0U]() mutable {
    server->end();
    server = std::make_unique<ServedMount>(share, root / "served");
    server->raiseNumbers(raisedBy += 1'000'000);
  };
  std::ofstream(share / "a.png") << "first";
  const Path path = share / "a.png";
  const FileMark mark = FileMark::of(*files.status(path));
  const Path place = **trash.moveToTrash(path);
  // Another one of the name, that goes to the Trash as well.
  std::ofstream(path) << "other";
  const FileMark others = FileMark::of(*files.status(path));
  const Path otherPlace = **trash.moveToTrash(path);
  mountAnew();
  EXPECT_NE(FileMark::of(*files.status(place)).file, mark.file);
  EXPECT_EQ(trash.find(path, mark).value()->place, place);
  EXPECT_EQ(trash.find(path, others).value()->place, otherPlace);
  EXPECT_FALSE(trash.find(share / "b.png", mark).value()) << "nothing came from there";
  FileMark taken = mark;
  taken.file = FileMark::of(*files.status(otherPlace)).file;
  EXPECT_EQ(trash.find(path, taken).value()->place, place) << "its number is another's now";

  // Cut short between the two names, of which each has its own number.
  std::filesystem::copy_file(root / "served" / place.lexically_relative(share),
                             root / "served" / "a.png");
  const auto time =
      std::filesystem::last_write_time(root / "served" / place.lexically_relative(share));
  std::filesystem::last_write_time(root / "served" / "a.png", time);
  mountAnew();
  const auto found = trash.find(path, mark).value();
  EXPECT_EQ(found->place, place);
  EXPECT_TRUE(found->hadBothNames);
  EXPECT_FALSE(std::filesystem::exists(path));
  std::filesystem::rename(place, path);
  std::filesystem::copy_file(root / "served" / "a.png",
                             root / "served" / place.lexically_relative(share));
  std::filesystem::last_write_time(place, time);
  mountAnew();
  EXPECT_TRUE(trash.restore(place, path, Trash::Attempt::repeated).has_value());
  EXPECT_EQ(bytesOf(path), "first");
  EXPECT_FALSE(std::filesystem::exists(place));

  // As large and as old, and yet another: nothing is removed, and none is taken for it.
  std::ofstream(place) << "FIRST";
  std::filesystem::last_write_time(place, time);
  EXPECT_EQ(trash.restore(place, path, Trash::Attempt::repeated).error().kind, FailureKind::exists);
  std::filesystem::remove(path);
  std::filesystem::last_write_time(otherPlace, time);
  mountAnew();
  EXPECT_FALSE(trash.find(path, {1, mark.size, mark.modified}).value());
}

// The server makes the removal late that it did not answer.
TEST_F(LinuxTrashTest, NothingElseGetsANameInTheTrashWhoseRemovalMayStillBeMade) {
  constexpr std::chrono::seconds aMinute{61};
  const Path path = "/pictures/a.png";
  for (const bool isSeenTwice : {false, true}) {
    FakeFiles disks;
    FakeRunners runners;
    LinuxTrash trash(disks, runners, "/data", 0, [](const Path&) { return true; });
    disks.put(path, "a");
    const Path place = **trash.moveToTrash(path);
    disks.silencing = place.parent_path();
    disks.silenceAtMove = 1;
    disks.isUnansweredHalfMade = isSeenTwice;
    disks.isUnansweredMade = !isSeenTwice;
    EXPECT_EQ(trash.restore(place, path, firstAttempt).error().kind, FailureKind::unreachable);
    disks.silent.clear();
    ASSERT_TRUE(trash.restore(place, path, Trash::Attempt::repeated).has_value());
    EXPECT_EQ(disks.text(path), "a");
    EXPECT_EQ(disks.text(place), "(missing)");
    const FileMark mark = FileMark::of(*disks.status(path));
    EXPECT_FALSE(trash.find(path, mark).value()) << "which clears up";
    const Path beside = **trash.moveToTrash(path);
    EXPECT_NE(beside, place);
    disks.disk.erase(place);
    ASSERT_TRUE(trash.restore(beside, path, firstAttempt).has_value());
    runners.advance(aMinute);
    EXPECT_EQ(**trash.moveToTrash(path), place);
    EXPECT_THAT(disks.text("/data/Trash/info/a.png.trashinfo"), Not(HasSubstr("Vantorel")));
  }
  // A disk of this machine makes nothing late, so that nothing need be kept.
  std::ofstream(root / "a.png") << "a";
  LinuxTrash own(files, clock, root / "data", ::getuid());
  const Path place = **own.moveToTrash(root / "a.png");
  std::filesystem::rename(place, root / "a.png");
  ASSERT_TRUE(own.restore(place, root / "a.png", Trash::Attempt::repeated).has_value());
  EXPECT_TRUE(std::filesystem::is_empty(root / "data/Trash/info"));
}

// The disk is the one of the home folder, and yet nothing can be renamed from one to the other.
TEST_F(LinuxTrashTest, FilesOfABoundFolderStayInItsMount) {
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  std::filesystem::create_directories(root / "pictures" / "2026");
  for (const char* const bound : {"bound", "pictures"}) {
    const Path place = root / bound;
    std::filesystem::create_directory(place);
    ASSERT_EQ(::mount((root / "pictures").c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0);
    put("2026/a.png", "kept");
    const auto trashed = trash.moveToTrash(place / "2026" / "a.png");
    const Path own = place / fmt::format(".Trash-{}", ::getuid());
    EXPECT_TRUE(trashed.has_value()) << trashed.error().reason;
    if (trashed) {
      EXPECT_EQ(**trashed, own / "files" / "a.png");
      EXPECT_THAT(bytesOf(own / "info" / "a.png.trashinfo"), HasSubstr("\nPath=2026/a.png\n"));
      const FileMark mark = FileMark::of(*files.status(**trashed));
      EXPECT_EQ(trash.find(place / "2026" / "a.png", mark).value()->place, *trashed);
      EXPECT_TRUE(trash.restore(**trashed, place / "2026" / "a.png", firstAttempt).has_value());
      EXPECT_EQ(bytesOf(root / "pictures/2026/a.png"), "kept");
    }
    // Where none can be made, it says so and leaves everything as it was.
    std::filesystem::remove_all(own);
    EXPECT_EQ(::mount(nullptr, place.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
              0);
    const auto refused = trash.moveToTrash(place / "2026" / "a.png");
    EXPECT_EQ(refused.error().kind, FailureKind::unsupported);
    EXPECT_EQ(refused.error().reason, "its disk has no Trash, and none can be made in " +
                                          place.string() + ": the disk is read-only");
    EXPECT_EQ(::umount(place.c_str()), 0);
    EXPECT_EQ(bytesOf(root / "pictures/2026/a.png"), "kept");
    std::filesystem::remove_all(root / "data");
  }
}

/// A folder on a disk that is not the one of the data home. At its top no Trash of the user lies
/// while a test runs.
class OtherDiskTrashTest : public LinuxTrashTest {
 protected:
  void SetUp() override {
    LinuxTrashTest::SetUp();
    // The top of a disk belongs to all tests of this machine.
    turn = FileDescriptor(::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(turn.number(), LOCK_EX), 0);
    other = top / root.filename();
    std::filesystem::create_directory(other);
    ASSERT_NE(files.status(other).value().device, files.status(root).value().device);
    ASSERT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(shared)));
    isSharedFree = true;
    isOwnNew = !std::filesystem::exists(own);
  }
  void TearDown() override {
    std::filesystem::remove_all(other);
    if (isSharedFree) std::filesystem::remove_all(shared);
    if (isOwnNew) std::filesystem::remove_all(own);
    LinuxTrashTest::TearDown();
  }

  Path putThere(const std::string& name) {
    std::ofstream(other / name) << "kept";
    return other / name;
  }

  const Path top = "/dev/shm";
  const Path shared = top / ".Trash";
  const Path own = top / (".Trash-" + std::to_string(::getuid()));
  FileDescriptor turn;
  Path other;
  bool isSharedFree = false;
  bool isOwnNew = false;
};

TEST_F(OtherDiskTrashTest, FolderReachedThroughALinkIsThrownAwayWhereItLies) {
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  std::filesystem::create_directory_symlink(other, root / "linked");
  putThere("a.png");
  const auto place = trash.moveToTrash(root / "linked" / "a.png");
  ASSERT_TRUE(place.has_value()) << place.error().reason;
  EXPECT_EQ((**place).parent_path(), own / "files");
  EXPECT_TRUE(std::filesystem::is_empty(other)) << "no Trash of its own in it";
  EXPECT_THAT(bytesOf(own / "info" / ((**place).filename().string() + ".trashinfo")),
              HasSubstr("\nPath=" + other.filename().string() + "/a.png\n"));
  ASSERT_TRUE(trash.restore(**place, root / "linked" / "a.png", firstAttempt).has_value());
  EXPECT_EQ(bytesOf(other / "a.png"), "kept");

  // The other way round: the data home lies there, behind a link.
  LinuxTrash linked(files, clock, root / "linked", ::getuid());
  const auto home = linked.moveToTrash(other / "a.png");
  ASSERT_TRUE(home.has_value()) << home.error().reason;
  EXPECT_EQ(**home, root / "linked" / "Trash" / "files" / "a.png");
}

TEST_F(OtherDiskTrashTest, WhatAnotherUserLaidThereIsNotUsed) {
  LinuxTrash trash(files, clock, root / "data", ::getuid());
  const Path ownInShared = shared / std::to_string(::getuid());
  std::filesystem::create_directory(shared);
  const auto placeOf = [&](const std::string& name) {
    const auto place = trash.moveToTrash(putThere(name));
    if (!place) return place.error().reason;
    std::filesystem::remove((**place).parent_path().parent_path() / "info" / (name + ".trashinfo"));
    std::filesystem::remove(**place);
    return (**place).parent_path().parent_path().string();
  };
  const std::string name = other.filename().string();
  EXPECT_EQ(placeOf(name), own) << "anybody may rename what lies in the shared one";
  std::filesystem::permissions(shared,
                               std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
  EXPECT_EQ(placeOf(name), ownInShared);
  std::filesystem::remove_all(ownInShared);
  std::filesystem::create_directory(root / "theirs");
  std::filesystem::create_directory_symlink(root / "theirs", ownInShared);
  EXPECT_EQ(placeOf(name), own);
  EXPECT_TRUE(std::filesystem::is_empty(root / "theirs"));

  // To a user of another number, the folders of this one are a stranger's.
  const std::uint32_t stranger = ::getuid() + 1;
  LinuxTrash strangers(files, clock, root / "data", stranger);
  const auto refused = strangers.moveToTrash(putThere(name));
  ASSERT_FALSE(refused.has_value());
  EXPECT_EQ(refused.error().kind, FailureKind::unsupported);
  EXPECT_EQ(bytesOf(other / name), "kept");
  std::filesystem::remove_all(top / (".Trash-" + std::to_string(stranger)));
}

TEST_F(LinuxTrashTest, FilesOfAnotherDiskStayOnIt) {
  FakeFiles disks;
  FakeRunners runners;
  LinuxTrash trash(disks, runners, "/home/u/.local/share", 0);
  disks.mounts = {"/media/usb"};
  disks.put("/media/usb/shots/a b.png", "usb");
  const auto place = trash.moveToTrash("/media/usb/shots/a b.png");
  ASSERT_TRUE(place.has_value()) << place.error().reason;
  EXPECT_EQ(**place, "/media/usb/.Trash-0/files/a b.png");
  EXPECT_THAT(disks.text("/media/usb/.Trash-0/info/a b.png.trashinfo"),
              testing::StartsWith("[Trash Info]\nPath=shots/a%20b.png\nDeletionDate=2026-01-02T"));
  // What is recorded of it later must not be on a disk before the move is.
  trash.flush();
  EXPECT_THAT(disks.flushed, ElementsAre("/media/usb/.Trash-0/files", "/media/usb/shots"));
  ASSERT_TRUE(trash.restore(**place, "/media/usb/shots/a b.png", firstAttempt).has_value());
  trash.flush();
  EXPECT_EQ(disks.flushed.size(), 4U);
  EXPECT_EQ(disks.text("/media/usb/shots/a b.png"), "usb");
  EXPECT_THAT(disks.names("/media/usb/.Trash-0/info"), IsEmpty());

  // A full disk loses neither the file nor leaves information about nothing.
  for (int at = 1; at < 8; ++at) {
    disks.changesFail.reset();
    disks.spaceEndsAtChange = at;
    const auto full = trash.moveToTrash("/media/usb/shots/a b.png");
    disks.changesFail.reset();
    disks.spaceEndsAtChange = 0;
    if (full) {
      ASSERT_TRUE(trash.restore(**full, "/media/usb/shots/a b.png", firstAttempt).has_value());
      break;
    }
    EXPECT_EQ(disks.text("/media/usb/shots/a b.png"), "usb") << at;
  }
}

}  // namespace
}  // namespace vantorel
