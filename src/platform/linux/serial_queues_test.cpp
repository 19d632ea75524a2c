#include "platform/linux/serial_queues.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>
#include <latch>
#include <thread>

#include "platform/linux/loop_runner.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

/// Posts another copy of itself to `runner` when it goes, as owners of finished work do.
struct PostsWhenGone {
  std::shared_ptr<TaskRunner> runner;
  int* goneCount;
  PostsWhenGone(std::shared_ptr<TaskRunner> to, int* count)
      : runner(std::move(to)), goneCount(count) {}
  PostsWhenGone(PostsWhenGone&&) = default;
  ~PostsWhenGone() {
    if (!runner) return;
    ++*goneCount;
    runner->post([keep = runner] {});
  }
};

void allowThreads(rlim_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NPROC, &limit);
  limit.rlim_cur = count;
  ::setrlimit(RLIMIT_NPROC, &limit);
}

// Else a command would wait for ever for threads that wait for work.
TEST(SerialQueuesTest, ARefusedThreadIsAFailureAndOneIsEnough) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(60);
    // The superuser has no limit: as nobody, who has no other processes.
    if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(6);
    bool wasRefused = false;
    // A sanitizer has threads of its own. The first limit that lets the queues be has room for one.
    for (rlim_t threads = 1; threads < 10; ++threads) {
      allowThreads(threads);
      try {
        std::latch bothRun(2);
        SerialQueues queues(3);
        if (!wasRefused) ::_exit(7);
        for (const char* name : {"one", "two"}) {
          queues.queue(name)->post([&] { bothRun.count_down(); });
        }
        bothRun.wait();
        ::_exit(0);
      } catch (const std::runtime_error& failure) {
        wasRefused = true;
        if (!std::string_view(failure.what()).starts_with("no thread could be started: ")) {
          ::_exit(8);
        }
      }
    }
    ::_exit(9);
  }
  int ended = 0;
  ASSERT_EQ(::waitpid(child, &ended, 0), child);
  EXPECT_TRUE(WIFEXITED(ended)) << WTERMSIG(ended);
  EXPECT_EQ(WEXITSTATUS(ended), 0);
}

TEST(SerialQueuesTest, WhatIsDueFindsAThreadWhileOthersAreHeld) {
  std::latch release(1);
  std::latch held(2);
  std::latch done(2);
  std::promise<void> due;
  SerialQueues queues(3);
  for (const char* name : {"one", "two"}) {
    queues.queue(name)->post([&] {
      held.count_down();
      release.wait();
      done.count_down();
    });
  }
  held.wait();
  queues.queue("later")->postAfter(1ms, [&] { due.set_value(); });
  due.get_future().wait();
  release.count_down();
  done.wait();
}

TEST(SerialQueuesTest, EachQueueKeepsItsOrderWhileOthersRunBesideIt) {
  // Outlive the queues, whose end waits for tasks that are still about to return from them.
  std::latch bothRun(2);
  std::promise<void> done;
  SerialQueues queues;
  const auto numbers = queues.queue("numbers");
  EXPECT_EQ(queues.queue("numbers"), numbers);
  EXPECT_FALSE(numbers->isCurrent());

  // Only the queue's order guards this list: the sanitizer sees any task that overlaps another.
  std::vector<std::pair<int, int>> seen;
  constexpr int posters = 3;
  constexpr int each = 2000;
  std::latch allSeen(std::ptrdiff_t{posters} * each);
  {
    std::vector<std::jthread> threads;
    for (int poster = 0; poster < posters; ++poster) {
      threads.emplace_back([&, poster] {
        for (int number = 0; number < each; ++number) {
          numbers->post([&, poster, number] {
            seen.emplace_back(poster, number);
            allSeen.count_down();
          });
        }
      });
    }
  }
  allSeen.wait();
  std::vector<int> next(posters);
  for (const auto& [poster, number] : seen) ASSERT_EQ(number, next[poster]++);

  // Both sides wait for the other to start: a pool that ran them in turn would hang here.
  const auto other = queues.queue("other");
  numbers->post([&] {
    EXPECT_TRUE(numbers->isCurrent());
    EXPECT_FALSE(other->isCurrent());
    bothRun.arrive_and_wait();
  });
  other->post([&] {
    bothRun.arrive_and_wait();
    done.set_value();
  });
  done.get_future().wait();
}

TEST(SerialQueuesTest, DelayedTasksComeWhenDueAndInOrder) {
  std::vector<int> order;
  std::promise<void> done;
  SerialQueues queues;
  const auto queue = queues.queue("timers");
  const auto start = std::chrono::steady_clock::now();
  std::chrono::nanoseconds took{};
  queue->postAfter(30ms, [&] {
    order.push_back(30);
    EXPECT_TRUE(queue->isCurrent());
    took = std::chrono::steady_clock::now() - start;
    done.set_value();
  });
  queue->postAfter(10ms, [&] { order.push_back(10); });
  queue->post([&] { order.push_back(0); });
  done.get_future().wait();
  EXPECT_EQ(order, (std::vector{0, 10, 30}));
  EXPECT_GE(took, 30ms);
}

TEST(SerialQueuesTest, EndingFinishesTheRunningTaskAndDropsTheRest) {
  int gone = 0;
  bool ran = false;
  bool finished = false;
  std::shared_ptr<TaskRunner> survivor;
  {
    SerialQueues queues;
    survivor = queues.queue("work");
    std::latch started(1);
    survivor->postAfter(1h, [&, held = PostsWhenGone(survivor, &gone)] { ran = true; });
    survivor->post([&] {
      started.count_down();
      std::this_thread::yield();
      finished = true;
    });
    started.wait();
  }
  EXPECT_TRUE(finished);
  EXPECT_FALSE(ran);
  EXPECT_EQ(gone, 1);
  survivor->post([&] { ran = true; });
  survivor->postAfter(0ns, [&] { ran = true; });
  EXPECT_FALSE(ran);
}

TEST(LoopRunnerTest, RunsOnItsThreadUntilToldToQuitFromAnywhere) {
  SerialQueues queues;
  LoopRunner loop;
  const auto main = loop.runner();
  const auto worker = queues.queue("worker");
  EXPECT_TRUE(main->isCurrent());

  std::vector<std::string> order;
  main->post([&] {
    order.emplace_back("main");
    worker->post([&] {
      EXPECT_FALSE(main->isCurrent());
      main->post([&] {
        order.emplace_back("reply");
        main->postAfter(5ms, [&] {
          order.emplace_back("late");
          worker->post([&] { loop.quit(); });
        });
      });
    });
  });
  loop.run();
  EXPECT_THAT(order, testing::ElementsAre("main", "reply", "late"));

  loop.quit();
  main->post([&] { order.emplace_back("after"); });
  loop.run();
  EXPECT_EQ(order.size(), 3U) << "had quit before it ran";
  main->post([&] { loop.quit(); });
  loop.run();
  EXPECT_EQ(order.back(), "after");

  // With nothing to do yet, the next run waits for what comes.
  worker->postAfter(20ms, [&] {
    main->post([&] {
      order.emplace_back("waited");
      loop.quit();
    });
  });
  loop.run();
  EXPECT_EQ(order.back(), "waited");
}

TEST(LoopRunnerTest, WhatStillWaitsAtTheEndIsLetGo) {
  int gone = 0;
  {
    LoopRunner loop;
    const auto main = loop.runner();
    main->postAfter(1h, [held = PostsWhenGone(main, &gone)] {});
    main->post([held = PostsWhenGone(main, &gone)] {});
  }
  EXPECT_EQ(gone, 2);
}

}  // namespace
}  // namespace vantorel
