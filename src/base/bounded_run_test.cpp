#include "base/bounded_run.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

struct BoundedRunTest : testing::Test {
  FakeRunners runners;
  std::move_only_function<void(int)> reply;
  std::vector<std::optional<int>> finished;
  std::vector<int> late;
  bool dialog = false;

  void start() {
    runBounded<int>(
        runners.main(), {5s, 12s, [this] { return dialog; }},
        [this](std::move_only_function<void(int)> r) { reply = std::move(r); },
        [this](std::optional<int> answer) { finished.push_back(answer); },
        [this](int answer) { late.push_back(answer); });
  }
};

TEST_F(BoundedRunTest, AnAnswerInTimeCountsOnceALateOneIsHandedOver) {
  start();
  runners.advance(4s);
  reply(7);
  runners.advance(20s);
  EXPECT_EQ(finished, std::vector<std::optional<int>>{7});

  start();
  runners.advance(5s);
  EXPECT_EQ(finished.size(), 2U);
  EXPECT_EQ(finished.back(), std::nullopt);
  reply(8);
  EXPECT_EQ(late, std::vector{8});
  EXPECT_EQ(finished.size(), 2U);
}

TEST_F(BoundedRunTest, AVisibleDialogExtendsTheWaitUpToTheCap) {
  dialog = true;
  start();
  runners.advance(11s);
  EXPECT_TRUE(finished.empty());
  runners.advance(1s);
  EXPECT_EQ(finished, std::vector<std::optional<int>>{std::nullopt});

  start();
  runners.advance(6s);
  dialog = false;
  runners.advance(4s);
  EXPECT_EQ(finished.size(), 2U) << "the dialog went, the wait did not";
}

}  // namespace
}  // namespace vantorel
