#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "main/program_under_test.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

/// A library of `count` files of some bytes each, made by hand.
void fillLibrary(const Vantorel& vantorel, int count) {
  std::filesystem::create_directories(vantorel.captures());
  std::string entries;
  for (int i = 0; i < count; ++i) {
    const std::string path = vantorel.captures() / (std::to_string(i) + ".png");
    std::ofstream(path) << pictureHolding("pixels of " + std::to_string(i));
    entries += std::string(i == 0 ? "" : ",") + R"({"id":"ID)" + std::to_string(i) +
               R"(","capturedAt":1,"path":")" + path + "\"}";
  }
  std::ofstream(vantorel.root() / "history.json")
      << R"({"version":4,"entries":[)" << entries << R"(],"collections":[]})";
}

/// Every entry has its file, whole, and in all folders together there is no other. Answers how many
/// there are beside those `fillLibrary` made.
std::size_t expectAllReachable(const Vantorel& vantorel, std::size_t count,
                               const std::vector<std::filesystem::path>& folders) {
  const EntryList entries = vantorel.entries();
  std::size_t others = 0;
  for (const EntryPointer& entry : entries) {
    const std::string text = readAll(entry->path);
    if (entry->id.starts_with("ID")) {
      EXPECT_EQ(text, pictureHolding("pixels of " + entry->id.substr(2))) << entry->path;
    } else {
      EXPECT_TRUE(LinuxImageCodec().decode(text).has_value()) << entry->path;
      ++others;
    }
  }
  EXPECT_EQ(entries.size(), count + others);
  std::size_t files = 0;
  for (const auto& folder : folders) files += namesIn(folder).size();
  EXPECT_EQ(files, entries.size());
  return others;
}

/// Waits until a capture has come into the folder, which may be made meanwhile, or `process` ends.
void waitForFirst(const std::filesystem::path& folder, ChildProcess& process) {
  std::filesystem::create_directories(folder);
  FileWatch watch({folder});
  const auto isCapture = [](const std::string& name) { return name.ends_with(".png"); };
  while (std::ranges::none_of(namesIn(folder), isCapture)) {
    if (watch.next(process.pid()) == 0) return;
  }
}

TEST(RelocationProgramTest, TheLibraryMovesWholeWhereverItIsKilled) {
  constexpr int count = 160;
  TestDesktop desktop({.screen = std::nullopt});
  const Vantorel vantorel(desktop);
  const auto near = desktop.folder() / "near";
  const auto stick = desktop.folder() / "stick";
  std::filesystem::create_directories(stick);
  ASSERT_EQ(::mount("tmpfs", stick.c_str(), "tmpfs", 0, "size=8m"), 0) << std::strerror(errno);
  fillLibrary(vantorel, count);
  const std::vector folders{vantorel.captures(), near, stick};

  const ChildOutcome moved = vantorel.run({"library", "relocate", stick.string(), "--json"});
  EXPECT_EQ(moved.status, 0) << moved.err;
  EXPECT_THAT(moved.out, HasSubstr("\"moved\":160,\"failed\":0"));
  EXPECT_EQ(vantorel.run({"settings", "get", "storageDirectory"}).out, stick.string() + "\n");
  expectAllReachable(vantorel, count, folders);

  for (int moment = 0; moment < 8; ++moment) {
    const auto to = moment % 2 == 0 ? near : stick;
    std::filesystem::create_directories(to);
    FileWatch watch({to});
    ChildProcess process = vantorel.start({"library", "relocate", to.string()});
    for (std::size_t changes = 0; changes < static_cast<std::size_t>(moment) * 40;) {
      const std::size_t more = watch.next(process.pid());
      if (more == 0) break;
      changes += more;
    }
    process.signal(SIGKILL);
    process.wait();
    ASSERT_EQ(vantorel.run({"library", "list", "--limit", "1"}).status, 0);
    expectAllReachable(vantorel, count, folders);
    EXPECT_EQ(vantorel.run({"library", "relocate", to.string()}).status, 0);
    expectAllReachable(vantorel, count, {to});
    const ChildOutcome verified = vantorel.run({"library", "verify"});
    EXPECT_EQ(verified.status, 0) << verified.out;
    ASSERT_FALSE(HasFailure()) << "moment " << moment;
  }

  // Interrupted, it ends after its batch and says what is left.
  ChildProcess process = vantorel.start({"library", "relocate", near.string()});
  waitForFirst(near, process);
  process.signal(SIGINT);
  const ChildOutcome stopped = process.wait();
  EXPECT_THAT(stopped.status, AnyOf(0, 3)) << stopped.err;
  EXPECT_EQ(stopped.status == 3, stopped.err.find("previous folder.\n") != std::string::npos);
  expectAllReachable(vantorel, count, folders);
  EXPECT_EQ(vantorel.run({"library", "relocate", near.string()}).status, 0);
  expectAllReachable(vantorel, count, {near});

  std::ofstream(vantorel.root() / "relocation.json") << "rubbish";
  const ChildOutcome refused = vantorel.run({"library", "relocate", stick.string()});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("History found a record of an earlier move"));
  expectAllReachable(vantorel, count, {near});
  ASSERT_EQ(::umount(stick.c_str()), 0);
}

TEST(RelocationProgramTest, ADiskTakenAwayDuringTheMoveHidesNothingUnderneath) {
  constexpr int count = 150;
  TestDesktop desktop({.screen = std::nullopt});
  const Vantorel vantorel(desktop);
  MountedFolder device(desktop.folder() / "device", "size=16m");
  const auto near = desktop.folder() / "near";
  const auto stick = desktop.folder() / "stick";
  std::filesystem::create_directories(stick);
  fillLibrary(vantorel, count);
  const auto connect = [&] {
    ASSERT_EQ(::mount(device.path().c_str(), stick.c_str(), nullptr, MS_BIND, nullptr), 0);
  };
  const auto disconnect = [&] { ASSERT_EQ(::umount2(stick.c_str(), MNT_DETACH), 0); };
  for (std::ptrdiff_t moment = 0; moment < 8; ++moment) {
    connect();
    ChildProcess process = vantorel.start({"library", "relocate", stick.string()});
    // What begins with a point is the trial whether the folder takes files.
    const auto movedYet = [&] {
      return std::ranges::count_if(namesIn(device.path()),
                                   [](const std::string& name) { return !name.starts_with('.'); });
    };
    while (movedYet() <= moment * 18 && process.isRunning()) {
    }
    disconnect();
    const ChildOutcome outcome = process.wait();
    EXPECT_THAT(namesIn(stick), IsEmpty());
    std::size_t moved = 0;
    for (const EntryPointer& entry : vantorel.entries()) {
      const std::filesystem::path path = entry->path;
      const bool isOnDisk = path.parent_path() == stick;
      moved += isOnDisk ? 1 : 0;
      EXPECT_TRUE(std::filesystem::exists(isOnDisk ? device.path() / path.filename() : path))
          << path;
    }
    EXPECT_EQ(outcome.status == 0, moved == count) << outcome.err;
    connect();
    EXPECT_EQ(vantorel.run({"library", "relocate", near.string()}).status, 0);
    expectAllReachable(vantorel, count, {near, stick, vantorel.captures()});
    disconnect();
    ASSERT_FALSE(HasFailure()) << "moment " << moment << ", " << moved << " moved";
  }
}

TEST(RelocationProgramTest, TheRunningProgramMovesTheLibraryAndAQuitStopsIt) {
  constexpr int count = 400;
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  fillLibrary(vantorel, count);
  const auto first = desktop.folder() / "first";
  const auto second = desktop.folder() / "second";
  ChildProcess tray = vantorel.start({});
  while (!client.isOwned("CLIPBOARD")) {
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
    ASSERT_TRUE(tray.isRunning()) << tray.errorText();
  }
  const ChildOutcome moved = vantorel.run({"library", "relocate", first.string()});
  EXPECT_THAT(moved.out, HasSubstr(" captures moved to " + first.string() + "\n")) << moved.err;
  const std::size_t all = count + expectAllReachable(vantorel, count, {first});

  EXPECT_EQ(vantorel.run({"settings", "set", "storageDirectory", second.string()}).status, 0);
  waitForFirst(second, tray);
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
  expectAllReachable(vantorel, count, {first, second});
  EXPECT_TRUE(namesIn(second).size() % 50 == 0 || namesIn(second).size() == all) << "cut short";

  EXPECT_EQ(vantorel.run({"library", "relocate", second.string()}).status, 0);
  expectAllReachable(vantorel, count, {second});
  const ChildOutcome taken = vantorel.run({"capture", "display"});
  EXPECT_THAT(taken.out, HasSubstr("/second/")) << "new captures go elsewhere";
}

TEST(RelocationProgramTest, OnesOwnTerminalFollowsAndStopsWhatTheRunningProgramDoes) {
  constexpr int count = 1500;
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  fillLibrary(vantorel, count);
  const auto near = desktop.folder() / "near";
  const auto far = desktop.folder() / "far";
  ChildProcess tray = vantorel.start({});
  while (!client.isOwned("CLIPBOARD")) {
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
    ASSERT_TRUE(tray.isRunning()) << tray.errorText();
  }
  ChildProcess requester = vantorel.start({"library", "relocate", near.string()});
  waitForFirst(near, requester);
  requester.signal(SIGINT);
  const ChildOutcome stopped = requester.wait();
  EXPECT_EQ(stopped.status, 3) << stopped.err;
  EXPECT_THAT(stopped.err,
              MatchesRegex("Stopped\\. [0-9]+ captures are still in the previous folder\\.\n"));
  EXPECT_THAT(stopped.out, HasSubstr(" captures moved to " + near.string() + "\n"));
  const std::vector folders{vantorel.captures(), near, far};
  const std::size_t all = count + expectAllReachable(vantorel, count, folders);
  EXPECT_LT(namesIn(near).size(), all);

  // A terminal shows the way of one command there, and another one how its own is stopped.
  const auto shownBy = [&](const char* name, const std::vector<std::string>& words) {
    std::string line = "echo $$ >" + (desktop.folder() / name).string() + ".pid; exec";
    for (const auto& word : vantorel.command(words)) line += " " + word;
    return desktop.start({"script", "-qefc", line, (desktop.folder() / name).string()});
  };
  ChildProcess terminal = shownBy("move", {"library", "relocate", near.string()});
  ChildProcess check = shownBy("check", {"library", "verify"});
  while (readAll(desktop.folder() / "check").find(" captures") == std::string::npos) {
    ASSERT_TRUE(check.isRunning());
  }
  ::kill(std::stoi(readAll(desktop.folder() / "check.pid")), SIGINT);
  const ChildOutcome checked = check.wait();
  EXPECT_THAT(checked.status, AnyOf(0, 1, 3)) << "done before, or stopped: " << checked.out;
  EXPECT_EQ(checked.status == 3, checked.out.find("Stopped; nothing") != std::string::npos);
  const ChildOutcome shown = terminal.wait();
  EXPECT_EQ(shown.status, 0) << shown.out;
  EXPECT_THAT(
      shown.out,
      MatchesRegex("(\r[0-9]+ of [0-9]+ files moved)+\r\n[0-9]+ captures moved to .*near\r\n"));
  expectAllReachable(vantorel, count, {near});

  // A second Ctrl-C waits for nobody; what was asked for ends all the same.
  ChildProcess impatient = vantorel.start({"library", "relocate", far.string()});
  waitForFirst(far, impatient);
  tray.signal(SIGSTOP);
  ChildProcess bus = desktop.start({"sh", "-c", "exec dbus-monitor --session >&2"});
  bus.waitForError("member=NameLost");  // its own: it listens from now on
  impatient.signal(SIGINT);
  bus.waitForError("member=Cancel");
  impatient.signal(SIGINT);
  EXPECT_EQ(impatient.wait().status, 128 + SIGINT);
  tray.signal(SIGCONT);
  EXPECT_EQ(vantorel.run({"library", "relocate", near.string()}).status, 0);
  EXPECT_EQ(expectAllReachable(vantorel, count, {near}) + count, all);

  // An area to be drawn is given up.
  std::optional<ChildProcess> area;
  do {
    // Refused itself when it comes while the display is captured.
    if (!area || !area->isRunning()) area.emplace(vantorel.start({"capture", "area"}));
  } while (vantorel.run({"capture", "display"}).status != 4);
  area->signal(SIGINT);
  const ChildOutcome none = area->wait();
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err, "Cancelled.\n");
  EXPECT_EQ(vantorel.run({"capture", "display"}).status, 0);
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
}

}  // namespace
}  // namespace vantorel
