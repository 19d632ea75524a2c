#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

#include "main/library_under_test.hpp"
#include "main/program_under_test.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/served_mount.hpp"

namespace vantorel {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(LibraryProgramTest, WhatHappensToFilesOutsideTheRunningProgramIsNoticedAndADiskMayGo) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  MountedFolder disk(desktop.folder() / "disk", "size=64m");
  const std::string kept = pathIn(vantorel.run({"capture", "display"}));
  setStorage(vantorel, disk.path());
  const std::string onDisk = pathIn(vantorel.run({"capture", "display"}));
  EXPECT_EQ(std::filesystem::path(onDisk).parent_path(), disk.path());

  ChildProcess tray = vantorel.startTray(client);
  FileWatch index({vantorel.root()});
  const auto leavesIndex = [&](const std::string& path) {
    return index.waitUntil([&] {
      return readAll(vantorel.root() / "history.json").find(path + '"') == std::string::npos;
    });
  };
  const auto listed = [&] { return vantorel.run({"--json", "library", "list"}).out; };
  const std::string deleted = pathIn(vantorel.run({"capture", "display"}));
  const std::string late = pathIn(vantorel.run({"capture", "display"}));
  // A new name that is followed shows that the folder has been looked at.
  std::filesystem::rename(late, disk.path() / "renamed.png");
  EXPECT_TRUE(leavesIndex(late));
  std::filesystem::remove(deleted);
  EXPECT_TRUE(leavesIndex(deleted));
  EXPECT_THAT(listed(),
              AllOf(HasSubstr(kept), HasSubstr(onDisk), Not(HasSubstr(deleted)),
                    Not(HasSubstr(late)), HasSubstr((disk.path() / "renamed.png").string())));

  disk.unmount();
  EXPECT_THAT(vantorel.run({"library", "show", "latest"}).out, HasSubstr("out of reach now"));
  EXPECT_THAT(vantorel.run({"library", "trash", "latest"}).err,
              HasSubstr("Remove from History is \"vantorel library forget\""));
  const ChildOutcome meanwhile = vantorel.run({"capture", "display"});
  EXPECT_EQ(differenceFromTestPicture(vantorel.picture(meanwhile), 1), "");
  // The next disk of that name is empty.
  disk.mount("size=64m");
  const std::string replaced = pathIn(vantorel.run({"capture", "display"}));
  EXPECT_EQ(std::filesystem::path(replaced).parent_path(), disk.path());
  std::filesystem::rename(replaced, disk.path() / "new.png");
  EXPECT_TRUE(leavesIndex(replaced));
  EXPECT_THAT(listed(), HasSubstr(onDisk));
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  tray.wait();
  EXPECT_THAT(readAll(vantorel.root() / "history.json"),
              AllOf(HasSubstr(kept), HasSubstr(onDisk), HasSubstr(pathIn(meanwhile))));
}

TEST(LibraryProgramTest, AFullDiskUnderTheLibraryLosesNoCapture) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  MountedFolder disk(vantorel.root(), "size=24m");
  setStorage(vantorel, desktop.folder() / "elsewhere");
  std::filesystem::create_directories(desktop.folder() / "elsewhere");
  const std::string first = pathIn(vantorel.run({"capture", "display"}));
  const std::string index = readAll(vantorel.root() / "history.json");
  {
    std::ofstream filler(vantorel.root() / "filler", std::ios::binary);
    const std::string page(4096, 'x');
    while (filler.write(page.data(), 4096).flush()) {
    }
  }
  const ChildOutcome full = vantorel.run({"capture", "display"});
  const std::size_t files = namesIn(desktop.folder() / "elsewhere").size();
  EXPECT_EQ(readAll(vantorel.root() / "history.json"), index);
  const ChildOutcome starred = vantorel.run({"library", "star", "latest"});
  EXPECT_EQ(starred.status, 1);
  EXPECT_THAT(starred.err, HasSubstr("The library's index could not be saved: "));
  EXPECT_EQ(readAll(vantorel.root() / "history.json"), index);
  const ChildOutcome trashed = vantorel.run({"library", "trash", "latest"});
  EXPECT_EQ(trashed.status, 1);
  EXPECT_THAT(trashed.err, HasSubstr("move to Trash failed: "));
  EXPECT_TRUE(std::filesystem::exists(first)) << "moved, though nobody could note where it went";

  std::filesystem::remove(vantorel.root() / "filler");
  EXPECT_EQ(vantorel.run({"library", "list"}).status, 0);
  const EntryList all = vantorel.entries();
  // Either the capture was refused with a reason and left nothing, or it is filed by now.
  EXPECT_EQ(all.size(), full.status == 0 ? 2U : files) << full.out << full.err;
  for (const EntryPointer& entry : all) {
    EXPECT_TRUE(LinuxImageCodec().decode(readAll(entry->path)).has_value()) << entry->path;
  }
  EXPECT_THAT(namesIn(vantorel.root()), Not(testing::Contains(testing::EndsWith(".staging"))));
}

TEST(LibraryProgramTest, ADiskThatIsAwayIsNeverTakenForDeletedFiles) {
  TestDesktop desktop({.screen = PixelSize{320, 200}});
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  // Mounted anywhere, and (as a folder of the very disk that the mount point is on) bound.
  MountedFolder device(desktop.folder() / "device", "size=64m");
  std::filesystem::create_directories(desktop.folder() / "bound");
  for (const std::filesystem::path& from : {device.path(), desktop.folder() / "bound"}) {
    const std::filesystem::path shots = desktop.folder() / ("shots of " + from.filename().string());
    std::filesystem::create_directories(shots);
    const auto connect = [&] {
      ASSERT_EQ(::mount(from.c_str(), shots.c_str(), nullptr, MS_BIND, nullptr), 0);
    };
    const auto disconnect = [&] { ASSERT_EQ(::umount2(shots.c_str(), MNT_DETACH), 0); };
    connect();
    ASSERT_EQ(vantorel.run({"settings", "set", "storageDirectory", shots.string()}).status, 0);
    std::vector<std::filesystem::path> taken;
    for (int i = 0; i < 4; ++i) taken.emplace_back(pathIn(vantorel.run({"capture", "display"})));
    ASSERT_EQ(taken.back().parent_path(), shots);
    const std::size_t all = vantorel.entries().size();
    // A Trash takes nothing from a folder that is bound: that is another mount of its disk.
    const bool hasTrash = from == device.path();
    const auto last = hasTrash ? "trash" : "forget";
    ASSERT_EQ(vantorel.run({"library", last, "latest"}).status, 0);

    disconnect();
    if (hasTrash) {
      const ChildOutcome back = vantorel.run({"library", "undo"});
      EXPECT_THAT(back.err, HasSubstr("Reconnect it")) << back.out;
    }
    const ChildOutcome pruned = vantorel.run({"library", "prune"});
    EXPECT_EQ(pruned.out, "0 captures removed from History\n");
    EXPECT_THAT(pruned.err, HasSubstr(" captures out of reach stay in History.\n"));
    (void)vantorel.run({"library", "verify", "--repair"});
    const ChildOutcome away = vantorel.run({"library", "trash", "latest"});
    EXPECT_EQ(away.status, 1);
    EXPECT_THAT(away.err, HasSubstr("Reconnect it"));
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"render", "latest", "--output", (desktop.folder() / "x.png").string()},
             {"annotate", "latest", "--apply", "none.json"}}) {
      const ChildOutcome unread = vantorel.run(words);
      EXPECT_EQ(unread.status, 1);
      EXPECT_THAT(unread.err, HasSubstr("can't be reached. Reconnect it"));
    }
    const ChildOutcome path = vantorel.run({"library", "path", "latest"});
    EXPECT_EQ(path.status, 1);
    EXPECT_THAT(path.out, HasSubstr(shots.string()));
    EXPECT_THAT(path.err, HasSubstr("its disk is not connected"));
    const ChildOutcome moved =
        vantorel.run({"library", "relocate", (desktop.folder() / "near").string()});
    EXPECT_THAT(moved.err, HasSubstr("can't be reached"));
    EXPECT_EQ(vantorel.run({"settings", "set", "storageDirectory", shots.string()}).status, 0);
    // What is captured meanwhile is not hidden when the disk comes back.
    const ChildOutcome meanwhile = vantorel.run({"capture", "display"});
    EXPECT_EQ(std::filesystem::path(pathIn(meanwhile)).parent_path(), vantorel.captures());
    EXPECT_THAT(meanwhile.err, HasSubstr("its disk is not connected"));
    EXPECT_THAT(namesIn(shots), IsEmpty());
    EXPECT_EQ(vantorel.entries().size(), all) << "one went, one came";

    connect();
    std::filesystem::remove(taken[0]);
    std::filesystem::rename(taken[1], shots / "renamed.png");
    const ChildOutcome prunedNow = vantorel.run({"library", "prune"});
    EXPECT_EQ(prunedNow.out, "1 capture removed from History\n");
    EXPECT_THAT(prunedNow.err, HasSubstr("1 capture found under another name.\n"));
    EXPECT_THAT(readAll(vantorel.root() / "history.json"),
                HasSubstr("\"path\":\"" + (shots / "renamed.png").string()));
    disconnect();
  }
}

TEST(LibraryProgramTest, AServerThatNeverAnswersHoldsNothingElse) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  const auto server = desktop.folder() / "server";
  std::filesystem::create_directories(server);
  std::filesystem::create_directories(vantorel.root());
  std::ofstream(vantorel.root() / "settings.json")
      << R"({"copyToClipboardAfterCapture":false,"storageDirectory":")" << server.string() << "\"}";
  const std::filesystem::path there = pathIn(vantorel.run({"capture", "display"}));
  ASSERT_EQ(there.parent_path(), server);
  const std::string thereID = vantorel.entries().back()->id;
  setStorage(vantorel, vantorel.captures());
  ChildProcess tray = vantorel.start({});
  waitForTray(client, vantorel, tray);

  ServedMount stuck(server, desktop.folder() / "served");
  stuck.hang();
  ChildProcess pruning = vantorel.start({"library", "prune"});
  ChildProcess converting = vantorel.start({"convert", "latest", "--format", "heic"});
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  const ChildOutcome converted = converting.wait();
  EXPECT_EQ(converted.status, 0) << converted.err;
  EXPECT_TRUE(pruning.isRunning()) << "it waits, and nobody waits for it";
  const std::string silence = server.string() + " is out of reach: it does not answer.\n";
  const ChildOutcome pruned = pruning.wait();
  EXPECT_EQ(pruned.status, 0);
  EXPECT_EQ(pruned.out, "0 captures removed from History\n");
  EXPECT_EQ(pruned.err, silence + "1 capture out of reach stays in History.\n");
  EXPECT_THAT(vantorel.run({"library", "verify"}).err, HasSubstr(silence));
  EXPECT_THAT(vantorel.run({"library", "trash", thereID}).err,
              HasSubstr("the folder it's in can't be reached."));
  EXPECT_THAT(vantorel.run({"library", "relocate", server.string()}).err,
              HasSubstr("The new folder can't be used"));
  EXPECT_EQ(vantorel.run({"library", "trash", "latest"}).status, 0);
  EXPECT_EQ(vantorel.run({"library", "undo"}).status, 0);
  // A new process knows nothing of it yet.
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
  EXPECT_THAT(vantorel.run({"library", "prune"}).err, HasSubstr(silence));

  stuck.end();
  EXPECT_EQ(vantorel.run({"library", "verify"}).status, 0);
  EXPECT_EQ(vantorel.run({"library", "trash", thereID}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(there));
}

TEST(LibraryProgramTest, EachDiskHasATrashOfItsOwn) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  MountedFolder disk(desktop.folder() / "disk", "size=16m");
  setStorage(vantorel, disk.path() / "Shots");
  std::filesystem::create_directories(disk.path() / "Shots");
  const std::filesystem::path taken = pathIn(vantorel.run({"capture", "display"}));
  ASSERT_EQ(taken.parent_path(), disk.path() / "Shots");
  EXPECT_EQ(vantorel.run({"library", "trash", "latest"}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(taken));
  const auto trash = disk.path() / (".Trash-" + std::to_string(::geteuid()));
  EXPECT_THAT(namesIn(trash / "files"), testing::ElementsAre(taken.filename().string()));
  EXPECT_THAT(readAll(trash / "info" / (taken.filename().string() + ".trashinfo")),
              HasSubstr("Path=Shots/Screenshot%20"));
  EXPECT_EQ(vantorel.run({"library", "undo"}).status, 0);
  EXPECT_THAT(namesIn(trash / "files"), IsEmpty());
  EXPECT_THAT(namesIn(trash / "info"), IsEmpty());
  EXPECT_TRUE(LinuxImageCodec().decode(readAll(taken)).has_value());
  EXPECT_EQ(vantorel.entries().size(), 1U);

  // The disk goes: its captures can't be deleted, and say why.
  disk.unmount();
  const ChildOutcome away = vantorel.run({"library", "trash", "latest"});
  EXPECT_EQ(away.status, 1);
  EXPECT_THAT(away.err,
              HasSubstr("the folder it's in can't be reached. Reconnect it, or use Remove "
                        "from History."));
  const ChildOutcome pruned = vantorel.run({"library", "prune"});
  EXPECT_EQ(pruned.out, "0 captures removed from History\n");
  EXPECT_EQ(pruned.err, "1 capture out of reach stays in History.\n");
  EXPECT_EQ(vantorel.entries().size(), 1U);
}

}  // namespace
}  // namespace vantorel
