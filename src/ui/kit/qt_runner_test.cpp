#include "ui/kit/qt_runner.hpp"

#include <signal.h>

#include <QCoreApplication>
#include <chrono>
#include <string>
#include <thread>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

class QtRunnerTest : public testing::Test {
 protected:
  void run() { QCoreApplication::exec(); }

  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  std::shared_ptr<QtRunner> runner = std::make_shared<QtRunner>();
  std::string order;
};

TEST_F(QtRunnerTest, RunsTasksOfAllThreadsInOrderAndNeverTooEarly) {
  const auto start = SteadyClock::now();
  SteadyClock::duration waited{};
  int counted = 0;
  const auto endWhenAllRan = [&] {
    if (order.size() == 4 && counted == 1001) QCoreApplication::quit();
  };
  // Each is due after the one before it, however late this thread comes to post it.
  runner->post([this] { order += "a"; });
  runner->postAfter(0ms, [this] { order += "b"; });
  runner->postAfter(10ms, [this] { order += "c"; });
  runner->postAfter(30ms, [&] {
    waited = SteadyClock::now() - start;
    order += "d";
    EXPECT_TRUE(runner->isCurrent());
    endWhenAllRan();
  });
  std::thread other([&] {
    EXPECT_FALSE(runner->isCurrent());
    for (int i = 0; i < 1000; ++i) {
      runner->post([&counted, i] {
        EXPECT_EQ(counted, i);
        ++counted;
      });
    }
    runner->postAfter(5ms, [&] {
      ++counted;
      endWhenAllRan();
    });
  });
  run();
  other.join();
  EXPECT_EQ(order, "abcd");
  EXPECT_EQ(counted, 1001);
  EXPECT_GE(waited, 30ms);
}

TEST_F(QtRunnerTest, TasksThatNeverRanAreLetGo) {
  const auto held = std::make_shared<int>();
  runner->postAfter(1h, [held] {});
  runner->post([] { QCoreApplication::quit(); });
  run();
  runner->post([held] { FAIL(); });
  // Its last owner may be a thread that works for it.
  std::thread([last = std::move(runner)]() mutable { last.reset(); }).join();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(held.use_count(), 1);
}

class StartTest : public UiTestCase {};

TEST_F(StartTest, SaysWhenThereIsNoDisplayOrNoneThatAnswers) {
  startDesktop({.screen = std::nullopt});
  EXPECT_EQ(makeUi(), nullptr);
  desktop.reset();

  startDesktop();
  desktop->server().signal(SIGSTOP);
  const auto start = SteadyClock::now();
  EXPECT_EQ(makeUi(), nullptr);
  EXPECT_LT(SteadyClock::now() - start, 6s);
  desktop->server().signal(SIGCONT);

  startUi();
  ui->quit(5);
  EXPECT_EQ(ui->run(), 5) << "told before it began";
}

}  // namespace
}  // namespace vantorel
