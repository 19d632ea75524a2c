#include "platform/linux/command_bus.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>
#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <future>
#include <mutex>
#include <thread>

#include "platform/linux/linux_files.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

BusRequest request(std::vector<std::string> arguments) { return {std::move(arguments), "/"}; }

/// A bus object that has been started, and what came of it.
struct Joined {
  std::unique_ptr<CommandBus> bus;
  CommandBus::Started started;

  explicit Joined(const BusRequest& what)
      : bus(std::make_unique<CommandBus>(CommandBus::nameFor(std::nullopt, LinuxFiles()))),
        started(bus->start(what)) {}

  [[nodiscard]] bool isOwner() const { return started.role == CommandBus::Role::owner; }
};

std::future<Joined> joinMeanwhile(BusRequest what) {
  return std::async(std::launch::async, [what = std::move(what)] { return Joined(what); });
}

struct CommandBusTest : testing::Test {
  TestDesktop desktop{{.screen = std::nullopt, .bus = true}};
  TestLoop loop;
  std::shared_ptr<TaskRunner> main{&loop, [](TaskRunner*) {}};

  CommandBusTest() { desktop.enter(); }

  /// This very program once more, in one of the roles below.
  ChildProcess probe(const std::string& role) {
    auto environment = desktop.environment();
    environment["PROBE_ROLE"] = role;
    environment["PROBE_FOLDER"] = desktop.folder();
    return {
        {"/proc/self/exe", "--gtest_filter=CommandBusProbe.*", "--gtest_also_run_disabled_tests"},
        environment};
  }
  bool exists(const char* file) { return std::filesystem::exists(desktop.folder() / file); }
  void awaitFile(const char* file) {
    ASSERT_TRUE(loop.runUntil([&] { return exists(file); })) << file;
  }
};

// Not a test: what the tests run as a process of its own, to kill it.
TEST(CommandBusProbe, DISABLED_Role) {
  const char* role = std::getenv("PROBE_ROLE");
  ASSERT_NE(role, nullptr);
  const std::filesystem::path folder = std::getenv("PROBE_FOLDER");
  const auto notify = [&](const char* file) { std::ofstream(folder / file) << "x"; };
  TestLoop loop;
  std::shared_ptr<TaskRunner> main(&loop, [](TaskRunner*) {});
  Joined joined(request({role}));
  if (!joined.isOwner()) return;
  joined.bus->serve(main, {.run = [&](const BusRequest&, auto&&) { notify("begun"); }});
  notify("owner");
  loop.runFor(std::chrono::seconds(60));
}

TEST_F(CommandBusTest, OfFiveAtOnceOneIsOwnerAndDoesTheOthersCommands) {
  std::vector<std::future<Joined>> asked;
  for (int i = 0; i < 5; ++i) {
    asked.push_back(joinMeanwhile({{std::to_string(i), "a b", "\xFF\x01"}, "/tmp"}));
  }
  std::unique_ptr<CommandBus> owner;
  std::vector<BusRequest> seen;
  std::vector<BusReply> replies;
  const auto done = [&] {
    for (auto& one : asked) {
      if (!one.valid() || one.wait_for(milliseconds(0)) != std::future_status::ready) continue;
      Joined joined = one.get();
      if (!joined.isOwner()) {
        EXPECT_EQ(joined.started.role, CommandBus::Role::forwarded);
        replies.push_back(joined.started.reply);
        continue;
      }
      EXPECT_EQ(owner, nullptr) << "two owners";
      owner = std::move(joined.bus);
      owner->serve(main, {.run = [&](const BusRequest& what, auto&& finish) {
                     seen.push_back(what);
                     finish({7, "out " + what.arguments[0], "err\xFE"});
                   }});
    }
    return replies.size() == 4;
  };
  ASSERT_TRUE(loop.runUntil(done));
  ASSERT_EQ(seen.size(), 4U);
  EXPECT_EQ(seen[0].arguments[2], "\xFF\x01");
  EXPECT_EQ(seen[0].folder, "/tmp");
  for (const auto& reply : replies) {
    EXPECT_EQ(reply.status, 7);
    EXPECT_THAT(reply.output, HasSubstr("out "));
    EXPECT_EQ(reply.error, "err\xFE");
  }
}

TEST_F(CommandBusTest, OwnersThatComeAndGoLoseNoCommandAndDoNoneTwice) {
  constexpr int requesters = 4;
  constexpr int each = 60;
  std::mutex mutex;
  std::map<std::string, int> executions;
  std::vector<std::string> wrong;
  std::atomic<int> forwarded = 0;
  const auto complain = [&](std::string about) {
    const std::lock_guard lock(mutex);
    wrong.push_back(std::move(about));
  };
  const auto execute = [&](const std::string& what) {
    const std::lock_guard lock(mutex);
    ++executions[what];
  };
  const auto ask = [&](int requester) {
    TestLoop own;
    std::shared_ptr<TaskRunner> runner(&own, [](TaskRunner*) {});
    for (int i = 0; i < each; ++i) {
      const std::string what = std::to_string(requester) + "." + std::to_string(i);
      const Joined joined(request({what}));
      if (!joined.isOwner()) {
        const auto& [role, reply] = joined.started;
        if (reply.output != what) {
          complain(fmt::format("{}: role {}, status {}, {}{}", what, static_cast<int>(role),
                               reply.status, reply.output, reply.error));
        }
        ++forwarded;
        continue;
      }
      joined.bus->serve(runner, {.run = [&](const BusRequest& other, auto&& finish) {
                          execute(other.arguments[0]);
                          finish({0, other.arguments[0], {}});
                        }});
      execute(what);
      own.runFor(milliseconds(i % 3));
      bool ended = false;
      joined.bus->end([&] { ended = true; });
      if (!own.runUntil([&] { return ended; })) complain(what + " did not end");
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < requesters; ++i) threads.emplace_back(ask, i);
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(wrong, ElementsAre());
  EXPECT_GT(forwarded, 0);
  EXPECT_EQ(executions.size(), std::size_t{requesters} * each);
  for (const auto& [what, count] : executions) EXPECT_EQ(count, 1) << what;
}

TEST_F(CommandBusTest, AnOwnerThatDiesBeforeTakingIsReplacedAfterwardsItIsNot) {
  {
    auto owner = probe("owner");
    awaitFile("owner");
    owner.signal(SIGSTOP);
    auto asked = joinMeanwhile(request({"capture"}));
    loop.runFor(milliseconds(100));
    owner.signal(SIGKILL);
    const Joined next = asked.get();
    EXPECT_TRUE(next.isOwner()) << static_cast<int>(next.started.role) << ": "
                                << next.started.reply.error;
    EXPECT_FALSE(exists("begun"));
  }
  std::filesystem::remove(desktop.folder() / "owner");
  auto owner = probe("owner");
  awaitFile("owner");
  auto asked = joinMeanwhile(request({"capture"}));
  awaitFile("begun");
  owner.signal(SIGKILL);
  const Joined joined = asked.get();
  EXPECT_EQ(joined.started.role, CommandBus::Role::forwarded);
  EXPECT_EQ(joined.started.reply.status, 1);
  EXPECT_THAT(joined.started.reply.error, HasSubstr("ended before it answered"));
}

TEST_F(CommandBusTest, TheOwnerLearnsThatItsRequesterDied) {
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  int gone = 0;
  CommandBus::Done late;
  std::string from;
  owner.bus->serve(main, {.run =
                              [&](const BusRequest& got, auto&& finish) {
                                from = got.requester;
                                late = std::forward<decltype(finish)>(finish);
                              },
                          .requesterGone =
                              [&](const std::string& who) {
                                EXPECT_EQ(who, from);
                                EXPECT_FALSE(who.empty());
                                ++gone;
                              }});
  {
    auto requester = probe("requester");
    ASSERT_TRUE(loop.runUntil([&] { return late != nullptr; }));
    EXPECT_EQ(gone, 0);
  }
  ASSERT_TRUE(loop.runUntil([&] { return gone == 1; }));
  late({0, {}, {}});
  bool ended = false;
  owner.bus->end([&] { ended = true; });
  EXPECT_TRUE(loop.runUntil([&] { return ended; }));
}

/// A process that asks, for a command that takes long.
struct Requester {
  explicit Requester(const std::string& what, milliseconds silence = std::chrono::seconds(30))
      : bus(CommandBus::nameFor(std::nullopt, LinuxFiles()), silence),
        outcome(std::async(std::launch::async, [this, what] {
          return bus.start(request({what}), [this](const BusProgress& at) {
            const std::lock_guard lock(mutex);
            seen.push_back(at);
          });
        })) {}

  [[nodiscard]] std::vector<BusProgress> reported() {
    const std::lock_guard lock(mutex);
    return seen;
  }
  [[nodiscard]] bool isDone() const {
    return outcome.wait_for(milliseconds(0)) == std::future_status::ready;
  }

  CommandBus bus;
  std::mutex mutex;
  std::vector<BusProgress> seen;
  std::future<CommandBus::Started> outcome;
};

TEST_F(CommandBusTest, ARequesterAloneSeesHowFarItsCommandIsAndEndsNoOther) {
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  std::map<std::string, std::pair<BusRequest, CommandBus::Done>> work;
  std::vector<std::string> cancelled;
  owner.bus->serve(
      main,
      {.run = [&](const BusRequest& got, auto&& finish) { work[got.arguments[0]] = {got, finish}; },
       .cancel = [&](const std::string& requester) { cancelled.push_back(requester); }});
  Requester one("one");
  Requester other("other");
  ASSERT_TRUE(loop.runUntil([&] { return work.size() == 2; }));

  const auto begin = std::chrono::steady_clock::now();
  for (std::uint64_t i = 1; i <= 5000; ++i) work["one"].first.notify({i, 5000, "files"});
  const auto tenths = (std::chrono::steady_clock::now() - begin) / milliseconds(100);
  ASSERT_TRUE(loop.runUntil(
      [&] { return one.reported().size() > 1 && one.reported().back().done == 5000; }));
  EXPECT_EQ(one.reported().front().done, 1U);
  EXPECT_LE(one.reported().size(), static_cast<std::size_t>(tenths) + 3);
  EXPECT_EQ(one.reported().back().total, 5000U);
  EXPECT_EQ(one.reported().back().words, "files");

  one.bus.cancel();
  ASSERT_TRUE(loop.runUntil([&] { return !cancelled.empty(); }));
  one.bus.cancel();
  EXPECT_FALSE(one.isDone()) << "it waits for the answer";
  work["one"].second({3, "half", "Stopped.\n"});
  ASSERT_TRUE(loop.runUntil([&] { return one.isDone(); }));
  const BusReply reply = one.outcome.get().reply;
  EXPECT_EQ(reply.status, 3);
  EXPECT_EQ(reply.output, "half");
  EXPECT_EQ(reply.error, "Stopped.\n");

  EXPECT_FALSE(other.isDone());
  EXPECT_TRUE(other.reported().empty());
  work["other"].second({0, {}, {}});
  ASSERT_TRUE(loop.runUntil([&] { return other.isDone(); }));
  EXPECT_EQ(other.outcome.get().reply.status, 0);
  EXPECT_THAT(cancelled, ElementsAre(work["one"].first.requester));
}

TEST_F(CommandBusTest, ACancelledRequesterWaitsForNobodyWhoIsSilent) {
  std::optional<Joined> owner(std::in_place, request({}));
  ASSERT_TRUE(owner->isOwner());
  CommandBus::Done late;
  int gone = 0;
  owner->bus->serve(main,
                    {.accepts = [](const BusRequest& got) { return got.arguments[0] != "run"; },
                     .run = [&](const BusRequest&, auto&& finish) { late = finish; },
                     .requesterGone = [&](const std::string&) { ++gone; }});
  {
    Requester requester("slow", milliseconds(50));
    ASSERT_TRUE(loop.runUntil([&] { return late != nullptr; }));
    requester.bus.cancel();
    ASSERT_TRUE(loop.runUntil([&] { return requester.isDone(); }));
    const BusReply reply = requester.outcome.get().reply;
    EXPECT_EQ(reply.status, 3);
    EXPECT_THAT(reply.error, HasSubstr("hasn't answered"));
    EXPECT_EQ(gone, 0);
  }
  EXPECT_TRUE(loop.runUntil([&] { return gone == 1; }));

  // Nobody takes this one as long as the owner lives, so there is nobody to be told.
  Requester waits("run");
  loop.runFor(milliseconds(20));
  EXPECT_FALSE(waits.isDone());
  waits.bus.cancel();
  ASSERT_TRUE(loop.runUntil([&] { return waits.isDone(); }));
  const CommandBus::Started started = waits.outcome.get();
  EXPECT_EQ(started.role, CommandBus::Role::forwarded);
  EXPECT_EQ(started.reply.status, 3);
}

TEST_F(CommandBusTest, AnOwnerThatEndsAnswersWhatItHasTaken) {
  std::optional<Joined> owner(std::in_place, request({}));
  ASSERT_TRUE(owner->isOwner());
  std::vector<CommandBus::Done> waiting;
  const auto keep = [&](const BusRequest&, auto&& finish) {
    waiting.push_back(std::forward<decltype(finish)>(finish));
  };
  owner->bus->serve(main, {.run = keep});
  auto slow = joinMeanwhile(request({"slow"}));
  ASSERT_TRUE(loop.runUntil([&] { return waiting.size() == 1; }));
  bool ended = false;
  owner->bus->end([&] { ended = true; });
  EXPECT_TRUE(Joined(request({"next"})).isOwner()) << "the name is free at once";
  loop.runFor(milliseconds(50));
  EXPECT_FALSE(ended) << "a command that was taken still runs";
  waiting[0]({0, "slow is done", {}});
  EXPECT_TRUE(loop.runUntil([&] { return ended; }));
  EXPECT_EQ(slow.get().started.reply.output, "slow is done");

  // Destroyed without `end`, what is not done is answered too.
  owner.emplace(request({}));
  ASSERT_TRUE(owner->isOwner());
  owner->bus->serve(main, {.run = keep});
  auto cut = joinMeanwhile(request({"cut"}));
  ASSERT_TRUE(loop.runUntil([&] { return waiting.size() == 2; }));
  loop.runFor(milliseconds(50));
  owner.reset();
  EXPECT_THAT(cut.get().started.reply.error, HasSubstr("ended before the command was done"));

  // An owner that is there for a moment only sends a sender into waiting.
  owner.emplace(request({}));
  ASSERT_TRUE(owner->isOwner());
  std::atomic<int> asked = 0;
  owner->bus->serve(main, {.accepts =
                               [&](const BusRequest&) {
                                 ++asked;
                                 return false;
                               },
                           .run = keep});
  auto stays = joinMeanwhile(request({"run"}));
  ASSERT_TRUE(loop.runUntil([&] { return asked == 1; }));
  loop.runFor(milliseconds(100));
  EXPECT_EQ(asked, 1);
  owner.reset();
  EXPECT_TRUE(stays.get().isOwner());
}

TEST_F(CommandBusTest, CommandsThatComeBeforeAnybodyServesAreKept) {
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  auto early = joinMeanwhile(request({"early"}));
  loop.runFor(milliseconds(100));
  owner.bus->serve(main, {.run = [](const BusRequest& what, auto&& finish) {
                     finish({0, what.arguments[0], {}});
                   }});
  ASSERT_TRUE(
      loop.runUntil([&] { return early.wait_for(milliseconds(0)) == std::future_status::ready; }));
  EXPECT_EQ(early.get().started.reply.output, "early");
}

TEST_F(CommandBusTest, TheDesktopReachesTheRunningProgram) {
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  int activated = 0;
  std::vector<std::string> opened;
  std::string action;
  owner.bus->serve(main, {.activate = [&] { ++activated; },
                          .open = [&](auto uris) { opened = std::move(uris); },
                          .knows = [](const auto& what) { return what == "capture-area"; },
                          .perform = [&](auto what) { action = std::move(what); }});
  auto desktopSide = std::async(std::launch::async, [] {
    auto application = sdbus::createProxy(sdbus::createSessionBusConnection(),
                                          "com.hollen.Vantorel", "/com/hollen/Vantorel");
    const std::map<std::string, sdbus::Variant> data;
    const auto* interface = "org.freedesktop.Application";
    application->callMethod("Activate").onInterface(interface).withArguments(data);
    application->callMethod("Open").onInterface(interface).withArguments(
        std::vector<std::string>{"file:///a.png"}, data);
    std::string refusal;
    for (const char* const name : {"Bogus", "capture-area"}) {
      try {
        application->callMethod("ActivateAction")
            .onInterface(interface)
            .withArguments(std::string(name), std::vector<sdbus::Variant>(), data);
      } catch (const sdbus::Error& error) {
        refusal += error.getMessage();
      }
    }
    return refusal;
  });
  EXPECT_TRUE(loop.runUntil([&] { return !action.empty(); }));
  EXPECT_EQ(activated, 1);
  EXPECT_THAT(opened, ElementsAre("file:///a.png"));
  EXPECT_EQ(action, "capture-area");
  EXPECT_EQ(desktopSide.get(), "Vantorel has no action \"Bogus\".");
}

TEST_F(CommandBusTest, FilesThatNothingOpensAreRefusedOnTheBusAndAtTheDesktop) {
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  bool isReported = false;
  owner.bus->serve(main, {.openRefused = [&] { isReported = true; }});
  auto refusal = std::async(std::launch::async, [] {
    auto application = sdbus::createProxy(sdbus::createSessionBusConnection(),
                                          "com.hollen.Vantorel", "/com/hollen/Vantorel");
    try {
      application->callMethod("Open")
          .onInterface("org.freedesktop.Application")
          .withArguments(std::vector<std::string>{"file:///a.png"},
                         std::map<std::string, sdbus::Variant>());
    } catch (const sdbus::Error& error) {
      return error.getMessage();
    }
    return std::string();
  });
  EXPECT_TRUE(loop.runUntil([&] { return isReported; }));
  EXPECT_EQ(refusal.get(), "Vantorel can't open files.");
}

TEST_F(CommandBusTest, WithoutABusTheProcessIsOnItsOwn) {
  const auto isAlone = [&] {
    const auto start = std::chrono::steady_clock::now();
    const Joined joined(request({}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    bool ended = false;
    joined.bus->serve(main, {});
    joined.bus->end([&] { ended = true; });
    EXPECT_TRUE(loop.runUntil([&] { return ended; }));
    return joined.started.role == CommandBus::Role::alone;
  };
  // One that does not answer, one that dies while we own the name, none.
  desktop.bus().signal(SIGSTOP);
  EXPECT_TRUE(isAlone());
  desktop.bus().signal(SIGCONT);
  const Joined owner(request({}));
  ASSERT_TRUE(owner.isOwner());
  owner.bus->serve(main, {});
  desktop.bus().signal(SIGKILL);
  EXPECT_TRUE(loop.runUntil([&] { return !desktop.bus().isRunning(); }));
  bool ended = false;
  owner.bus->end([&] { ended = true; });
  EXPECT_TRUE(loop.runUntil([&] { return ended; }));
  EXPECT_TRUE(isAlone());
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_TRUE(isAlone());
}

TEST(CommandBusNameTest, EachRootHasAProgramOfItsOwn) {
  EXPECT_EQ(CommandBus::nameFor(std::nullopt, LinuxFiles()), "com.hollen.Vantorel");
  const std::string one = CommandBus::nameFor("/tmp/one", LinuxFiles());
  EXPECT_THAT(one, testing::MatchesRegex("com\\.hollen\\.Vantorel\\.r[0-9a-f]{16}"));
  EXPECT_EQ(CommandBus::nameFor("/tmp/../tmp/one/", LinuxFiles()), one);
  EXPECT_NE(CommandBus::nameFor("/tmp/two", LinuxFiles()), one);
}

}  // namespace
}  // namespace vantorel
