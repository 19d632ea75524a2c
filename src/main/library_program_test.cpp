#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <fstream>
#include <functional>
#include <random>

#include "main/library_under_test.hpp"
#include "main/program_under_test.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(LibraryProgramTest, CapturesThatSwapNamesKeepWhatIsTheirs) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  const Vantorel vantorel(desktop);
  for (const int picture : {1, 2}) {
    client.paintRoot(picture);
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  }
  const EntryList before = vantorel.entries();
  ASSERT_EQ(before.size(), 2U);
  const std::string& first = before[0]->id;
  const std::string& second = before[1]->id;
  const auto swap = [&] {
    const std::filesystem::path aside = desktop.folder() / "aside";
    std::filesystem::rename(before[0]->path, aside);
    std::filesystem::rename(before[1]->path, before[0]->path);
    std::filesystem::rename(aside, before[1]->path);
  };
  const auto expectOwn = [&](const std::string& id, int picture) {
    const Image image = vantorel.picture(vantorel.run({"library", "path", id}));
    EXPECT_EQ(differenceFromTestPicture(image, picture), "");
  };
  swap();
  expectOwn(first, 1);
  expectOwn(second, 2);
  swap();
  EXPECT_EQ(vantorel.run({"library", "trash", first}).status, 0);
  expectOwn(second, 2);
  EXPECT_EQ(vantorel.run({"library", "undo"}).status, 0);
  expectOwn(first, 1);

  // The running program follows by itself.
  const auto pathOf = [&](const std::string& id) -> std::string {
    for (const EntryPointer& entry : vantorel.entries()) {
      if (entry->id == id) return entry->path;
    }
    return "";
  };
  EXPECT_EQ(pathOf(first), before[0]->path);
  ChildProcess tray = vantorel.start({});
  waitForTray(client, vantorel, tray);
  FileWatch index({vantorel.root()});
  const auto comesTo = [&](const std::string& id, const std::string& path) {
    return index.waitUntil([&] { return pathOf(id) == path; });
  };
  swap();
  EXPECT_TRUE(comesTo(first, before[1]->path));
  EXPECT_EQ(pathOf(second), before[0]->path);
  // One put over the other takes its name; the entry of the one that went goes.
  std::filesystem::rename(before[0]->path, before[1]->path);
  EXPECT_TRUE(comesTo(second, before[1]->path));
  EXPECT_TRUE(comesTo(first, ""));
  expectOwn(second, 2);
  // Completions look for themselves.
  EXPECT_EQ(vantorel.run({"--offered-captures"}).out,
            second + "\t" + std::filesystem::path(before[1]->path).filename().string() + "\n");
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  tray.wait();
}

/// What stands where the index should be, made anew in an empty root.
struct BadIndex {
  const char* name;
  std::function<void(const std::filesystem::path& index)> make;
  std::optional<std::string> told{};  // of the index, beside the refusal
  std::string_view why = "it can't be read";
};

std::string indexOf(int version, const std::string& entries) {
  return R"({"version":)" + std::to_string(version) + R"(,"entries":[)" + entries +
         R"(],"collections":[],"later":1})";
}

TEST(LibraryProgramTest, AnOriginalIsFoundUnderItsNewNameAndNothingIsTakenForIt) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  const Vantorel vantorel(desktop);
  for (const int picture : {1, 2}) {
    client.paintRoot(picture);
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
    ASSERT_EQ(vantorel.run({"convert", "latest", "--format", "jpeg"}).status, 0);
  }
  const EntryList before = vantorel.entries();
  ASSERT_EQ(before.size(), 2U);
  const std::string id = before[0]->id;
  const std::filesystem::path original = before[0]->originalPath.value();
  const std::filesystem::path other = before[1]->originalPath.value();
  const std::filesystem::path aside = original.parent_path() / "report.png";
  std::filesystem::rename(original, aside);
  std::filesystem::rename(other, original);
  std::filesystem::rename(aside, other);
  const std::string bytes = readAll(other);
  const ChildOutcome verified = vantorel.run({"library", "verify"});
  EXPECT_EQ(verified.status, 1) << "originals that changed names are told";
  EXPECT_THAT(verified.out, HasSubstr("original under another name\t" + original.string()));
  ChildOutcome trashed = vantorel.run({"library", "trash", id});
  EXPECT_THAT(trashed.err, Not(HasSubstr("original")));
  EXPECT_FALSE(std::filesystem::exists(other)) << "its own";
  EXPECT_TRUE(std::filesystem::exists(original)) << "the other's";
  EXPECT_EQ(vantorel.run({"library", "undo"}).status, 0);
  EXPECT_EQ(readAll(other), bytes);

  // Renamed, and another picture has its name.
  std::filesystem::rename(other, aside);
  std::ofstream(other) << "somebody's picture";
  EXPECT_THAT(vantorel.run({"library", "verify", "--repair"}).out,
              HasSubstr("original under another name\t" + aside.string() + "\trepaired"));
  EXPECT_EQ(vantorel.entries()[0]->originalPath, aside.string());
  EXPECT_EQ(readAll(other), "somebody's picture");
  std::filesystem::remove(aside);
  // The name is kept for it.
  ASSERT_EQ(vantorel.run({"convert", id, "--format", "png"}).status, 0);
  EXPECT_NE(vantorel.entries()[0]->path, aside.string());
  trashed = vantorel.run({"library", "trash", id});
  EXPECT_EQ(trashed.status, 0);
  EXPECT_THAT(trashed.err,
              HasSubstr("its original is not in the Trash. report.png was not found."));
}

TEST(LibraryProgramTest, AnIndexThatIsNotOursIsLeftAloneAndCapturesAreSavedAllTheSame) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  const auto write = [](std::string text) {
    return [text = std::move(text)](const std::filesystem::path& index) {
      std::ofstream(index, std::ios::binary) << text;
      ASSERT_EQ(::chmod(index.c_str(), 0600), 0);
    };
  };
  for (const BadIndex& bad : std::vector<BadIndex>{
           {"of a newer build",
            write(indexOf(5, "{}")),
            {},
            "a newer version of Vantorel wrote it"},
           {"a link",
            [](const auto& index) {
              std::ofstream(index.parent_path() / "other.json") << indexOf(4, "");
              std::filesystem::create_symlink("other.json", index);
            },
            " is a link to "},
           {"a link to nothing",
            [](const auto& index) { std::filesystem::create_symlink("nothing.json", index); },
            " is a link to a file that can't be reached, "},
           {"of another user",
            [&](const auto& index) {
              write(indexOf(4, ""))(index);
              ASSERT_EQ(::chmod(index.c_str(), 0644), 0);
              ASSERT_EQ(::chown(index.c_str(), 4711, 4711), 0) << std::strerror(errno);
            },
            " belongs to another user. "},
           {"a folder", [](const auto& index) { std::filesystem::create_directory(index); },
            " is not a file. "}}) {
    SCOPED_TRACE(bad.name);
    const Vantorel vantorel(desktop);
    std::filesystem::remove_all(vantorel.root());
    std::filesystem::create_directories(vantorel.root());
    const auto index = vantorel.root() / "history.json";
    bad.make(index);
    struct stat before{};
    ASSERT_EQ(::lstat(index.c_str(), &before), 0);
    const auto text = [&] { return S_ISDIR(before.st_mode) ? std::string() : readAll(index); };
    const std::string textBefore = text();
    for (int count = 1; count <= 2; ++count) {
      ChildOutcome taken = vantorel.run({"capture", "display"});
      EXPECT_EQ(std::exchange(taken.status, 0), 1);
      EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "");
      EXPECT_THAT(taken.err, HasSubstr("The capture is saved, but not yet listed in History: the "
                                       "index can't be written this run: " +
                                       std::string(bad.why) + ".\n"));
      EXPECT_EQ(namesIn(vantorel.captures()).size(), static_cast<std::size_t>(count));
    }
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"convert", "latest", "--format", "jpeg"},
                                               {"annotate", "latest", "--print"},
                                               {"library", "list"}}) {
      const ChildOutcome refused = vantorel.run(command);
      EXPECT_EQ(refused.status, 1);
      EXPECT_THAT(refused.err, HasSubstr("The library can't be used now: the index can't be "
                                         "written this run: " +
                                         std::string(bad.why) + ".\n"));
      const std::size_t skipped = refused.err.find("sweep skipped");
      EXPECT_EQ(refused.err.find("sweep skipped", skipped + 1), std::string::npos);
    }
    const ChildOutcome listed = vantorel.run({"library", "list"});
    EXPECT_THAT(listed.err, HasSubstr(bad.told ? index.string() + *bad.told : ""));
    struct stat after{};
    ASSERT_EQ(::lstat(index.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(text(), textBefore);
    // Once the index is in order, both are filed.
    std::filesystem::remove_all(index);
    EXPECT_THAT(vantorel.run({"library", "verify"}).err, HasSubstr("is not judged yet.\n"));
    EXPECT_THAT(namesIn(vantorel.root() / "Staged Captures"), Not(IsEmpty())) << "repaired unasked";
    const ChildOutcome found = vantorel.run({"library", "list"});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(std::ranges::count(found.out, '\n'), 2) << "filed after the answer";
    EXPECT_EQ(vantorel.entries().size(), 2U);
    vantorel.expectWhole();
  }
}

TEST(LibraryProgramTest, ADamagedIndexIsParkedAndNothingOfItIsLost) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  std::string random(5000, ' ');
  std::mt19937 generator(1);
  for (char& byte : random) byte = static_cast<char>(generator());
  for (const std::string& text :
       {std::string(), random, std::string("[1,2]"), indexOf(4, R"({"id":"a"})").substr(0, 30)}) {
    const Vantorel vantorel(desktop);
    std::filesystem::remove_all(vantorel.root());
    std::filesystem::create_directories(vantorel.root());
    std::ofstream(vantorel.root() / "history.json", std::ios::binary) << text;
    const ChildOutcome first = vantorel.run({"capture", "display"});
    EXPECT_EQ(differenceFromTestPicture(vantorel.picture(first), 1), "");
    EXPECT_THAT(first.err, HasSubstr("index failed to decode; a copy is parked alongside it as "
                                     ".unreadable.json"));
    EXPECT_THAT(vantorel.run({"capture", "display"}).err, IsEmpty());
    EXPECT_EQ(vantorel.entries().size(), 2U);
    std::vector<std::string> parked;
    for (const std::string& name : namesIn(vantorel.root())) {
      if (name.ends_with(".unreadable.json")) parked.push_back(name);
    }
    ASSERT_EQ(parked.size(), 1U);
    EXPECT_EQ(readAll(vantorel.root() / parked[0]), text);
    struct stat status{};
    ASSERT_EQ(::stat((vantorel.root() / parked[0]).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    vantorel.expectWhole();
  }

  // Two captures under one id: the same one twice, and another one.
  const Vantorel vantorel(desktop);
  std::filesystem::remove_all(vantorel.root());
  std::filesystem::create_directories(vantorel.captures());
  const auto entry = [&](const char* name) {
    const std::string path = vantorel.captures() / name;
    std::ofstream(path) << "pixels of " << name;
    return R"({"id":"twin","capturedAt":1,"later":true,"path":")" + path + "\"}";
  };
  std::ofstream(vantorel.root() / "history.json")
      << indexOf(4, entry("a.png") + "," + entry("a.png") + "," + entry("b.png"));
  ASSERT_EQ(::chmod((vantorel.root() / "history.json").c_str(), 0644), 0);
  EXPECT_EQ(vantorel.run({"library", "star", "twin"}).status, 0);
  const EntryList all = vantorel.entries();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0]->id, "twin");
  EXPECT_NE(all[1]->id, "twin");
  EXPECT_THAT(all[1]->path, testing::EndsWith("/b.png"));
  EXPECT_THAT(readAll(vantorel.root() / "history.json"), HasSubstr(R"("later":1)"));
  struct stat status{};
  ASSERT_EQ(::stat((vantorel.root() / "history.json").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(LibraryProgramTest, RepairMovesOrphanedOriginalsToTheTrashAndRemovesTemporaries) {
  TestDesktop desktop({.screen = PixelSize{320, 200}});
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  const std::filesystem::path taken = pathIn(vantorel.run({"capture", "display"}));
  EXPECT_EQ(vantorel.run({"compress", "latest"}).status, 0);
  const std::string original = vantorel.entries().front()->originalPath.value_or("");
  ASSERT_TRUE(std::filesystem::exists(original));
  const auto old = [](const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "left by an earlier run";
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - 1h);
    return path;
  };
  const auto secret = old(vantorel.root() / "Redacted Originals" / "secret.png");
  const auto orphan = old(vantorel.root() / "Originals" / "orphan.png");
  const auto half = old(vantorel.captures() / ".vantorel-7.partial");
  const auto foreign = old(vantorel.captures() / ".somebody's.partial");
  EXPECT_EQ(vantorel.run({"library", "verify"}).err, "3 found, 0 repaired.\n");
  const ChildOutcome repaired = vantorel.run({"library", "verify", "--repair"});
  EXPECT_EQ(repaired.status, 0) << repaired.out;
  EXPECT_FALSE(std::filesystem::exists(half));
  EXPECT_TRUE(std::filesystem::exists(foreign));
  EXPECT_TRUE(std::filesystem::exists(original));
  EXPECT_THAT(namesIn(desktop.dataHome() / "Trash" / "files"),
              testing::UnorderedElementsAre("secret.png", "orphan.png"));
  EXPECT_TRUE(vantorel.run({"library", "verify"}).out.starts_with("1 capture, ")) << "all in order";
}

TEST(LibraryProgramTest, NoOriginalOutlivesACaptureThatIsGoneForGood) {
  TestDesktop desktop({.screen = PixelSize{320, 200}, .windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  const auto originals = vantorel.root() / "Originals";
  const auto compressed = [&] {
    EXPECT_EQ(vantorel.run({"capture", "display"}).status, 0);
    std::string path = pathIn(vantorel.run({"compress", "latest"}));
    EXPECT_THAT(namesIn(originals), testing::SizeIs(1));
    return path;
  };
  std::filesystem::remove(compressed());
  EXPECT_EQ(vantorel.run({"library", "prune"}).out, "1 capture removed from History\n");
  EXPECT_THAT(namesIn(originals), IsEmpty());

  const std::string path = compressed();
  {
    // While the program runs the file may come back, and its original is kept for that.
    ChildProcess tray = vantorel.startTray(client);
    FileWatch index({vantorel.root()});
    const auto leavesIndex = [&](const std::string& name) {
      return index.waitUntil([&] {
        return readAll(vantorel.root() / "history.json").find(name + '"') == std::string::npos;
      });
    };
    std::filesystem::rename(path, vantorel.captures() / "looked at.png");
    EXPECT_TRUE(leavesIndex(path));
    std::filesystem::remove(vantorel.captures() / "looked at.png");
    EXPECT_TRUE(leavesIndex("looked at.png"));
    EXPECT_THAT(namesIn(originals), testing::SizeIs(1));
    EXPECT_EQ(vantorel.run({"quit"}).status, 0);
    tray.wait();
  }
  // An empty index may yet be put back from a copy, and takes no original with it.
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  FileWatch left({originals});
  ChildProcess tray = vantorel.start({});
  EXPECT_TRUE(left.waitUntil([&] { return namesIn(originals).empty(); }));
  EXPECT_EQ(vantorel.entries().size(), namesIn(vantorel.captures()).size());
}

TEST(LibraryProgramTest, OldCapturesGoToTheTrashFromTheTrayAloneAndOnceAgreedTo) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  std::filesystem::create_directories(vantorel.captures());
  const auto entry = [&](const std::string& id, const char* more) {
    const std::string path = vantorel.captures() / (id + ".png");
    std::ofstream(path) << "pixels of " << id;
    return R"({"id":")" + id + R"(","capturedAt":1,"path":")" + path + '"' + more + "}";
  };
  std::ofstream(vantorel.root() / "history.json")
      << indexOf(4, entry("old", "") + "," + entry("starred", R"(,"starred":true)") + "," +
                        entry("edited", R"(,"editedAt":4e9)"));
  const auto chosen = vantorel.run({"settings", "set", "retentionDays", "7"});
  EXPECT_EQ(chosen.out, "7\n");
  EXPECT_THAT(chosen.err, testing::HasSubstr("only while Vantorel is in the tray"));
  EXPECT_EQ(vantorel.run({"library", "list"}).status, 0);
  EXPECT_EQ(vantorel.entries().size(), 3U) << "a command does what it says and nothing else";
  {
    // Killed with its question open, which refuses captures.
    ChildProcess asking = vantorel.start({});
    int status = 0;
    for (int i = 0; i < 200 && status != 4; ++i) {
      status = vantorel.run({"capture", "display"}).status;
    }
    EXPECT_EQ(status, 4);
    EXPECT_THAT(vantorel.run({"settings", "set", "retentionDays", "7"}).err,
                testing::HasSubstr("until the question on the screen is answered"));
    asking.signal(SIGKILL);
    asking.wait();
  }
  EXPECT_TRUE(std::filesystem::exists(vantorel.captures() / "old.png"));
  EXPECT_FALSE(std::filesystem::exists(vantorel.root() / "retention.json"));
  std::ofstream(vantorel.root() / "retention.json")
      << R"({"days":7,"lookedAt":)" << std::time(nullptr) << "}";
  FileWatch index({vantorel.root()});
  ChildProcess tray = vantorel.start({});
  EXPECT_TRUE(index.waitUntil([&] {
    return readAll(vantorel.root() / "history.json").find("old.png") == std::string::npos;
  }));
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
  const EntryList left = vantorel.entries();
  ASSERT_GE(left.size(), 2U);
  EXPECT_EQ(left[0]->id, "starred");
  EXPECT_EQ(left[1]->id, "edited");
  EXPECT_THAT(namesIn(desktop.dataHome() / "Trash" / "files"), testing::ElementsAre("old.png"));
}

}  // namespace
}  // namespace vantorel
