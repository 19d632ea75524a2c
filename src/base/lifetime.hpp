#pragma once

#include <memory>
#include <utility>

#include "base/check.hpp"
#include "base/sequence_checker.hpp"

namespace vantorel {

/// Guards replies that come later: a guarded callable does nothing once its `Lifetime` is gone or
/// has been renewed. A member declared last in its class, it dies first. Lives on one runner, and
/// guarded callables are called on that runner: both are checked, which holds the classes that have
/// one to their runners.
class Lifetime {
 public:
  Lifetime() = default;
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  /// Turns away every callable guarded so far.
  void renew() {
    VT_CHECK(sequence_.isCurrent());
    token_ = std::make_shared<char>();
  }

  template <class Callable>
  [[nodiscard]] auto guard(Callable callable) const {
    VT_CHECK(sequence_.isCurrent());
    return [weak = std::weak_ptr<char>(token_), sequence = currentSequence(),
            callable = std::move(callable)](auto&&... arguments) mutable {
      VT_CHECK(currentSequence() == sequence);
      if (!weak.expired()) callable(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  SequenceChecker sequence_;
  std::shared_ptr<char> token_ = std::make_shared<char>();
};

}  // namespace vantorel
