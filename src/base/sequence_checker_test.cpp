#include "base/sequence_checker.hpp"

#include <gtest/gtest.h>

#include <thread>

#include "base/lifetime.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

TEST(SequenceChecker, BelongsToTheFirstThatAsksAndToNobodyElse) {
  FakeRunners runners;
  SequenceChecker main;
  EXPECT_TRUE(main.isCurrent());
  SequenceChecker disk;  // made here, handed over
  bool isMain = true;
  bool isDisk = false;
  runners.runner("disk")->post([&] {
    isDisk = disk.isCurrent();
    isMain = main.isCurrent();
  });
  runners.run();
  EXPECT_TRUE(isDisk);
  EXPECT_FALSE(isMain);
  EXPECT_FALSE(disk.isCurrent());
  runners.main()->post([&] { isMain = main.isCurrent(); });
  runners.run();
  EXPECT_TRUE(isMain) << "tasks of the main runner and what runs around them are one";
  std::thread([&] { isMain = main.isCurrent(); }).join();
  EXPECT_FALSE(isMain);
}

TEST(SequenceCheckerDeathTest, AReplyOnAnotherRunnerIsNotLetThrough) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  FakeRunners runners;
  const Lifetime lifetime;
  auto reply = lifetime.guard([] {});
  runners.runner("disk")->post([&] { reply(); });
  EXPECT_DEATH(runners.run(), "currentSequence");
}

}  // namespace
}  // namespace vantorel
