#include "platform/linux/command_bus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "platform/linux/loop_runner.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

constexpr const char* name = "com.hollen.Vantorel.rtest";

/// An owner on a thread of its own that answers "echo" with its arguments and "hold" never.
class Owner {
 public:
  Owner() {
    std::atomic<bool> serving = false;
    thread_ = std::thread([this, &serving] {
      LoopRunner loop;
      CommandBus bus(name);
      EXPECT_EQ(bus.start({{"first"}, "/"}).role, CommandBus::Role::owner);
      bus.serve(loop.runner(),
                {.accepts = [](const BusRequest& request) { return request.arguments[0] != "no"; },
                 .run =
                     [&](const BusRequest& request, const CommandBus::Done& done) {
                       ++taken;
                       if (request.arguments[0] == "hold") return;
                       if (request.arguments[0] == "end") bus.end([&] { loop.quit(); });
                       done({7, request.arguments[0] + request.folder, "words"});
                     },
                 .askerGone = [this] { ++gone; }});
      serving = true;
      loop.run();
    });
    while (!serving) std::this_thread::yield();
  }
  ~Owner() { thread_.join(); }

  std::atomic<int> taken = 0;
  std::atomic<int> gone = 0;

 private:
  std::thread thread_;
};

TEST(CommandBusTest, CommandsGoToTheOneOwnerAndNoneIsLostWhenItLeaves) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  {
    Owner owner;
    const auto echoed = CommandBus(name).start({{"echo"}, "/tmp"});
    EXPECT_EQ(echoed.role, CommandBus::Role::forwarded);
    EXPECT_EQ(echoed.reply.status, 7);
    EXPECT_EQ(echoed.reply.output, "echo/tmp");
    EXPECT_EQ(echoed.reply.error, "words");

    // Another root is another program.
    EXPECT_EQ(CommandBus(CommandBus::nameFor("/somewhere")).start({{"x"}, "/"}).role,
              CommandBus::Role::owner);

    std::atomic<int> answered = 0;
    std::vector<std::thread> many;
    for (int i = 0; i < 5; ++i) {
      many.emplace_back([&] {
        if (CommandBus(name).start({{"echo"}, "/"}).reply.status == 7) ++answered;
      });
    }
    for (std::thread& one : many) one.join();
    EXPECT_EQ(answered, 5);
    EXPECT_EQ(owner.taken, 6);

    // One that this owner will not take waits until it leaves, and then becomes the owner.
    std::atomic<bool> became = false;
    std::thread waiting(
        [&] { became = CommandBus(name).start({{"no"}, "/"}).role == CommandBus::Role::owner; });
    EXPECT_EQ(CommandBus(name).start({{"end"}, "/"}).reply.status, 7);
    waiting.join();
    EXPECT_TRUE(became);
  }
  EXPECT_EQ(CommandBus(name).start({{"next"}, "/"}).role, CommandBus::Role::owner);
}

TEST(CommandBusTest, TheOwnerHearsThatAnAskerDied) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  Owner owner;
  {
    const auto connection = sdbus::createSessionBusConnection();
    const auto proxy = sdbus::createProxy(*connection, name, "/com/hollen/Vantorel");
    std::uint64_t ticket = 0;
    proxy->callMethod("Begin")
        .onInterface("com.hollen.Vantorel.Commands")
        .withArguments(std::vector<std::string>{"hold"}, std::string("/"))
        .storeResultsTo(ticket);
    EXPECT_EQ(owner.gone, 0);
    // A stranger cannot fetch somebody else's answer.
    const auto other = sdbus::createSessionBusConnection();
    const auto stranger = sdbus::createProxy(*other, name, "/com/hollen/Vantorel");
    EXPECT_THROW(stranger->callMethod("Wait")
                     .onInterface("com.hollen.Vantorel.Commands")
                     .withArguments(ticket),
                 sdbus::Error);
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (owner.gone == 0 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_EQ(owner.gone, 1);
  EXPECT_EQ(CommandBus(name).start({{"end"}, "/"}).reply.status, 7);
}

TEST(CommandBusTest, BytesThatCannotTravelAreRefusedAndRunNowhere) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  Owner owner;
  const auto refused = CommandBus(name).start({{"\xFF"}, "/"});
  EXPECT_EQ(refused.role, CommandBus::Role::forwarded);
  EXPECT_EQ(refused.reply.status, 2);
  EXPECT_EQ(owner.taken, 0);
  EXPECT_EQ(CommandBus(name).start({{"end"}, "/"}).reply.status, 7);
}

TEST(CommandBusTest, ABusThatHangsOrDiesStopsNobody) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  desktop.bus().signal(SIGSTOP);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(CommandBus(name).start({{"x"}, "/"}).role, CommandBus::Role::alone);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  desktop.bus().signal(SIGCONT);

  LoopRunner loop;
  CommandBus bus(name);
  ASSERT_EQ(bus.start({{"first"}, "/"}).role, CommandBus::Role::owner);
  std::thread sender([] { (void)CommandBus(name).start({{"hold"}, "/"}); });
  bus.serve(loop.runner(), {.accepts = [](const BusRequest&) { return true; },
                            .run =
                                [&](const BusRequest&, const CommandBus::Done&) {
                                  // Taken and never answered: the bus dies meanwhile.
                                  desktop.bus().signal(SIGKILL);
                                  bus.end([&] { loop.quit(); });
                                },
                            .askerGone = [] {}});
  loop.run();
  sender.join();
}

TEST(CommandBusTest, WithoutABusTheProgramIsAlone) {
  TestDesktop desktop({.screen = std::nullopt});
  desktop.enter();
  EXPECT_EQ(CommandBus(name).start({{"x"}, "/"}).role, CommandBus::Role::alone);
}

}  // namespace
}  // namespace vantorel
