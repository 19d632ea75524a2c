#include "base/round_trip.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "base/lifetime.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

/// Notes where it goes, and where its copies do.
struct Held {
  explicit Held(std::set<Sequence>& noted) : places(noted) {}
  Held(const Held&) = default;
  ~Held() { places.insert(currentSequence()); }

  std::set<Sequence>& places;
};

TEST(RoundTrip, BringsTheResultHomeAndGivesEverythingBackWhereItRan) {
  FakeRunners runners;
  Sequence away = nullptr;
  Sequence jobGoes = nullptr;
  std::set<Sequence> replyGoes;
  const int* made = nullptr;
  std::unique_ptr<int> kept;
  std::shared_ptr<void> ofJob(nullptr, [&](void*) { jobGoes = currentSequence(); });
  roundTrip(
      *runners.runner("disk"), runners.main(),
      [&, held = std::move(ofJob)] {
        away = currentSequence();
        auto result = std::make_unique<int>(7);
        made = result.get();
        return result;
      },
      [&, held = Held(replyGoes)](std::unique_ptr<int> result) { kept = std::move(result); });
  EXPECT_EQ(away, nullptr);
  runners.run();
  EXPECT_NE(away, currentSequence());
  EXPECT_EQ(jobGoes, away);
  EXPECT_EQ(replyGoes, std::set<Sequence>{currentSequence()});
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept.get(), made);
}

TEST(RoundTrip, CallsNoReplyWhoseLifetimeEndedOnTheWay) {
  FakeRunners runners;
  int jobs = 0;
  int replies = 0;
  std::optional<Lifetime> lifetime(std::in_place);
  const auto start = [&] {
    roundTrip(
        *runners.runner("disk"), runners.main(), [&] { ++jobs; },
        lifetime->guard([&] { ++replies; }));
  };
  start();
  runners.run();
  EXPECT_EQ(replies, 1);
  start();
  lifetime.reset();
  runners.run();
  EXPECT_EQ(jobs, 2);
  EXPECT_EQ(replies, 1);
}

}  // namespace
}  // namespace vantorel
