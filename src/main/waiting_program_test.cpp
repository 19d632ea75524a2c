#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "main/program_under_test.hpp"
#include "platform/linux/linux_files.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// Has the library, as another command does that works for long.
std::unique_ptr<FileLock> holdLibrary(const Vantorel& vantorel) {
  auto lock = LinuxFiles().lock(vantorel.root() / "history.lock");
  EXPECT_TRUE(lock.has_value());
  return lock ? std::move(*lock) : nullptr;
}

std::string thisProcess() { return "process " + std::to_string(::getpid()) + " (program_tests)"; }

TEST(WaitingProgramTest, ACommandSaysWhomItWaitsForAndStopsAtOnceWhenToldTo) {
  TestDesktop desktop({.screen = PixelSize{320, 200}});
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  auto lock = holdLibrary(vantorel);
  const std::string index = readAll(vantorel.root() / "history.json");

  for (const auto& [words, signal] : std::vector<std::pair<std::vector<std::string>, int>>{
           {{"library", "star", "latest"}, SIGINT},
           {{"library", "list"}, SIGTERM},
           {{"library", "relocate", (desktop.folder() / "elsewhere").string()}, SIGINT},
           {{"convert", "latest", "--format", "jpeg"}, SIGTERM},
           {{"annotate", "latest", "--print"}, SIGHUP},
           {{"render", "latest", "--output", (desktop.folder() / "x.png").string()}, SIGINT}}) {
    ChildProcess command = vantorel.start(words);
    command.waitForError("Waiting for the library, which " + thisProcess() + " has.");
    command.signal(signal);
    const ChildOutcome stopped = command.wait(5s);
    EXPECT_EQ(stopped.status, 128 + signal) << words[0];
    EXPECT_THAT(stopped.err, HasSubstr("Stopped waiting for the library"));
    EXPECT_THAT(stopped.out, IsEmpty());
  }
  EXPECT_EQ(readAll(vantorel.root() / "history.json"), index);

  // What was captured is safe, and said to be.
  ChildProcess capture = vantorel.start({"capture", "display"});
  capture.waitForError("The picture is safe: " + (vantorel.root() / "Staged Captures").string());
  capture.signal(SIGTERM);
  const ChildOutcome left = capture.wait(5s);
  EXPECT_EQ(left.status, 128 + SIGTERM);
  EXPECT_THAT(left.err, HasSubstr("the next run files it"));
  EXPECT_THAT(namesIn(vantorel.root() / "Staged Captures"), SizeIs(1));
  // What needs no library waits for none.
  for (const auto& words : std::vector<std::vector<std::string>>{
           {"displays"}, {"windows"}, {"settings", "list"}, {"autostart", "status"}}) {
    EXPECT_EQ(vantorel.start(words).wait(5s).status, 0) << words[0];
  }
  EXPECT_THAT(vantorel.run({"quit"}).err, HasSubstr("Vantorel isn't running in the tray"));

  // One that is patient comes to its turn.
  ChildProcess patient = vantorel.start({"library", "star", "latest"});
  patient.waitForError("Waiting for the library");
  lock.reset();
  EXPECT_EQ(patient.wait().status, 0);
  EXPECT_EQ(vantorel.entries().size(), 2U);
  vantorel.expectWhole();
}

TEST(WaitingProgramTest, WithoutABusTheProgramInTheTrayIsKnownAndCanBeQuit) {
  TestDesktop desktop({.screen = PixelSize{320, 200}, .windowManager = true});
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  const auto startTray = [&] {
    FileWatch data({vantorel.root()});
    ChildProcess tray = vantorel.start({});
    // Its locks name it.
    for (const char* const lock : {"tray.lock", "history.lock"}) {
      EXPECT_TRUE(data.waitUntil(
          [&] { return readAll(vantorel.root() / lock) == std::to_string(tray.pid()); }));
    }
    return tray;
  };
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  EXPECT_EQ(vantorel.run({"quit"}).err, "Vantorel isn't running.\n");
  {
    ChildProcess tray = startTray();
    const std::string unreachable = "Vantorel is running in the tray as process " +
                                    std::to_string(tray.pid()) +
                                    ", and no session bus leads to it.\n";
    const ChildOutcome again = vantorel.run({});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, unreachable);
    const ChildOutcome starred = vantorel.start({"library", "star", "latest"}).wait(10s);
    EXPECT_EQ(starred.status, 1);
    EXPECT_THAT(starred.err, StartsWith(unreachable));
    const ChildOutcome listed = vantorel.start({"library", "list"}).wait(10s);
    EXPECT_EQ(listed.status, 0) << "to look needs no leave";
    EXPECT_EQ(std::ranges::count(listed.out, '\n'), 1);
    ChildOutcome taken = vantorel.start({"capture", "display"}).wait(10s);
    EXPECT_EQ(std::exchange(taken.status, 0), 1);
    EXPECT_THAT(taken.err, AllOf(StartsWith(unreachable), HasSubstr("not yet listed in History")));
    EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "");

    const ChildOutcome quit = vantorel.run({"quit"});
    EXPECT_EQ(quit.status, 0) << quit.err;
    EXPECT_FALSE(tray.isRunning()) << "quit did not wait for its end";
    EXPECT_EQ(tray.wait().status, 0);
  }
  EXPECT_EQ(vantorel.run({"library", "list"}).status, 0);
  EXPECT_EQ(vantorel.entries().size(), 2U);
  // One that was killed is none.
  ChildProcess tray = startTray();
  tray.signal(SIGKILL);
  tray.wait();
  EXPECT_EQ(vantorel.run({"quit"}).err, "Vantorel isn't running.\n");
  vantorel.expectWhole();
}

TEST(WaitingProgramTest, ATrayThatGaveTheLibraryUpOpensItWhenItComesFree) {
  TestDesktop desktop({.screen = PixelSize{320, 200}, .windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  auto lock = holdLibrary(vantorel);
  ChildProcess tray = vantorel.start({});
  FileWatch data({vantorel.root()});
  EXPECT_TRUE(data.waitUntil(
      [&] { return readAll(vantorel.root() / "tray.lock") == std::to_string(tray.pid()); }));
  // Whoever sends a command hears of the wait too, and Ctrl-C ends it for him alone.
  ChildProcess list = vantorel.start({"library", "list"});
  ChildProcess star = vantorel.start({"library", "star", "latest"});
  star.waitForError("Waiting for the library, which " + thisProcess() + " has.");
  star.signal(SIGINT);
  EXPECT_EQ(star.wait(5s).status, 130);
  list.waitForError("Waiting for the library");
  EXPECT_TRUE(list.isRunning());
  // At the desktop nobody waits a minute for a sign of what he captured.
  ChildOutcome taken = vantorel.start({"capture", "display", "--notify"}).wait(10s);
  EXPECT_EQ(list.wait(5s).status, 0);
  EXPECT_EQ(std::exchange(taken.status, 0), 1);
  EXPECT_THAT(taken.err, HasSubstr("not yet listed in History: " + thisProcess()));
  EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "");
  EXPECT_THAT(vantorel.run({"library", "star", "latest"}).err, HasSubstr(thisProcess()));

  lock.reset();
  EXPECT_TRUE(data.waitUntil([&] { return vantorel.entries().size() == 2; }));
  EXPECT_EQ(vantorel.run({"library", "star", "latest"}).status, 0);
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
  vantorel.expectWhole();
}

TEST(WaitingProgramTest, ATrayInAnotherSessionAnswersAtOnceAndTakesTheLibraryOver) {
  TestDesktop desktop({.screen = PixelSize{320, 200}, .windowManager = true, .bus = true});
  TestClient client(desktop.display());
  const Vantorel vantorel(desktop);
  ChildProcess tray = vantorel.startTray(client);
  const std::size_t before = vantorel.entries().size();
  const std::string unreachable = "Vantorel is running in the tray as process " +
                                  std::to_string(tray.pid()) +
                                  ", and no session bus leads to it.\n";

  const TestDesktop other({.screen = PixelSize{320, 200}, .windowManager = true, .bus = true});
  TestClient(other.display()).paintRoot(1);
  const auto there = [&](std::vector<std::string> words) {
    return other.start(vantorel.command(std::move(words)));
  };
  FileWatch data({vantorel.root()});
  ChildProcess second = there({});
  second.waitForError("process " + std::to_string(tray.pid()) + " (vantorel) has the library");
  EXPECT_THAT(there({"library", "star", "latest"}).wait(10s).err, StartsWith(unreachable));
  // It shows what is there now, not what was there when it started.
  EXPECT_EQ(vantorel.run({"capture", "display"}).status, 0);
  const ChildOutcome listed = there({"library", "list"}).wait(10s);
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.err, unreachable);
  EXPECT_EQ(std::ranges::count(listed.out, '\n'), static_cast<std::ptrdiff_t>(before + 1));
  // What it captures is not said to be where it is not.
  const ChildOutcome taken =
      there({"capture", "display", "--output", (desktop.folder() / "no" / "x.png").string()})
          .wait(10s);
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.err, AllOf(StartsWith(unreachable), HasSubstr("not yet listed in History"),
                               HasSubstr("The capture is at /")));

  // The first one gone, it is the program in the tray, with what it captured in the library.
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  EXPECT_EQ(tray.wait().status, 0);
  EXPECT_TRUE(data.waitUntil([&] {
    return vantorel.entries().size() == before + 2 &&
           readAll(vantorel.root() / "tray.lock") == std::to_string(second.pid());
  }));
  const ChildOutcome starred = there({"library", "star", "latest"}).wait(10s);
  EXPECT_EQ(starred.status, 0) << starred.err;
  EXPECT_EQ(there({"quit"}).wait(10s).status, 0);
  EXPECT_EQ(second.wait().status, 0);
  vantorel.expectWhole();
}

}  // namespace
}  // namespace vantorel
