#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "base/check.hpp"
#include "base/sequence_checker.hpp"

namespace vantorel {

/// Ends an observation when it goes. May outlive what is observed. Lives on one runner.
class [[nodiscard]] Observation {
 public:
  Observation() = default;
  explicit Observation(std::shared_ptr<void> held) : held_(std::move(held)) {}

  void end() { held_.reset(); }

 private:
  std::shared_ptr<void> held_;
};

/// Everybody who wants to hear of something, called in no particular order. An observer may come
/// or go while the others are being told. Lives on one runner, which is checked.
template <class... Arguments>
class Observers {
 public:
  using Observer = std::function<void(const Arguments&...)>;

  Observation add(Observer observer) {
    VT_CHECK(sequence_.isCurrent());
    const std::uint64_t number = state_->next++;
    state_->all.emplace(number, std::move(observer));
    return Observation(
        std::shared_ptr<void>(nullptr, [weak = std::weak_ptr<State>(state_), number](void*) {
          if (const auto state = weak.lock()) state->all.erase(number);
        }));
  }

  void notify(const Arguments&... arguments) const {
    VT_CHECK(sequence_.isCurrent());
    const std::shared_ptr<State> state = state_;
    std::vector<std::uint64_t> numbers;
    for (const auto& [number, observer] : state->all) numbers.push_back(number);
    for (const std::uint64_t number : numbers) {
      const auto found = state->all.find(number);
      if (found == state->all.end()) continue;
      const Observer observer = found->second;
      observer(arguments...);
    }
  }

 private:
  struct State {
    std::uint64_t next = 0;
    std::map<std::uint64_t, Observer> all;
  };
  SequenceChecker sequence_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace vantorel
