#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "base/task_runner.hpp"

namespace vantorel {

/// How long somebody may be waited for: `first`, then on in steps of `first` while `extending`
/// says so (a dialog waits for the user), never beyond `cap`.
struct TimeBound {
  std::chrono::nanoseconds first{};
  std::chrono::nanoseconds cap{};
  std::function<bool()> extending;
};

/// Starts an operation that answers once, through the reply it is given, or never. `finished` is
/// called exactly once: with the answer, or with nothing when the bound passed first. An answer
/// after that goes to `onLateFinish`. All on `runner`, on which the operation must also answer.
template <class Answer>
void runBounded(const std::shared_ptr<TaskRunner>& runner, TimeBound bound,
                std::move_only_function<void(std::move_only_function<void(Answer)>)> operation,
                std::move_only_function<void(std::optional<Answer>)> finished,
                std::move_only_function<void(Answer)> onLateFinish) {
  struct Race {
    std::shared_ptr<TaskRunner> runner;
    TimeBound bound;
    std::chrono::nanoseconds waited{};
    std::move_only_function<void(std::optional<Answer>)> finished;
    std::move_only_function<void(Answer)> onLateFinish;

    static void wait(std::shared_ptr<Race> race, std::chrono::nanoseconds length) {
      TaskRunner& on = *race->runner;
      on.postAfter(length, [race = std::move(race), length]() mutable {
        if (!race->finished) return;
        race->waited += length;
        const auto left = race->bound.cap - race->waited;
        if (left.count() > 0 && race->bound.extending && race->bound.extending()) {
          const auto next = std::min(race->bound.first, left);
          wait(std::move(race), next);
          return;
        }
        std::exchange(race->finished, nullptr)(std::nullopt);
      });
    }
  };
  auto race = std::make_shared<Race>(
      Race{runner, std::move(bound), {}, std::move(finished), std::move(onLateFinish)});
  const auto first = race->bound.first;
  Race::wait(race, first);
  operation([race](Answer answer) {
    if (race->finished) {
      std::exchange(race->finished, nullptr)(std::optional<Answer>(std::move(answer)));
    } else if (race->onLateFinish) {
      race->onLateFinish(std::move(answer));
    }
  });
}

}  // namespace vantorel
