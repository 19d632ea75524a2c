#include "scrolling/latest_frame_conduit.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

class LatestFrameConduitTest : public testing::Test {
 protected:
  FakeRunners runners;
  std::vector<int> delivered;
  std::optional<LatestFrameConduit<int>> conduit{std::in_place, runners.main(),
                                                 [this](int value) { delivered.push_back(value); }};
};

TEST_F(LatestFrameConduitTest, DeliversTheNewestOfABurstOnce) {
  for (const int value : {1, 2, 3}) conduit->submit(value);
  EXPECT_TRUE(delivered.empty());
  runners.run();
  EXPECT_EQ(delivered, std::vector{3});
  runners.run();
  conduit->submit(4);
  runners.run();
  EXPECT_EQ(delivered, (std::vector{3, 4}));
}

TEST_F(LatestFrameConduitTest, DeliversNothingWhenItIsGone) {
  const auto entrance = conduit->entrance();
  conduit->submit(1);
  conduit.reset();
  entrance.submit(2);
  runners.run();
  EXPECT_TRUE(delivered.empty());
}

TEST_F(LatestFrameConduitTest, DeliveryMaySubmit) {
  std::optional<LatestFrameConduit<int>> other;
  other.emplace(runners.main(), [&](int value) {
    delivered.push_back(value);
    if (value < 3) other->submit(value + 1);
  });
  other->submit(1);
  runners.run();
  EXPECT_EQ(delivered, (std::vector{1, 2, 3}));
}

TEST_F(LatestFrameConduitTest, ThreadsMaySubmitAtOnce) {
  std::vector<std::thread> threads;
  for (int from = 0; from < 4; ++from) {
    threads.emplace_back([entrance = conduit->entrance(), from] {
      for (int i = 0; i < 500; ++i) entrance.submit(from * 500 + i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  runners.run();
  ASSERT_EQ(delivered.size(), 1U);
  EXPECT_EQ(delivered.front() % 500, 499);
}

}  // namespace
}  // namespace vantorel
