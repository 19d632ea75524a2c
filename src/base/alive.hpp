#pragma once

#include <memory>
#include <utility>

namespace vantorel {

/// Guards replies that come later: a guarded callable does nothing once its `Alive` is gone or
/// has been renewed. A member declared last in its class, it dies first. Lives on one runner, and
/// guarded callables are called on that runner.
class Alive {
 public:
  Alive() = default;
  Alive(const Alive&) = delete;
  Alive& operator=(const Alive&) = delete;

  /// Turns away every callable guarded so far.
  void renew() { token_ = std::make_shared<char>(); }

  template <class Callable>
  [[nodiscard]] auto guard(Callable callable) const {
    return [weak = std::weak_ptr<char>(token_),
            callable = std::move(callable)](auto&&... arguments) mutable {
      if (!weak.expired()) callable(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  std::shared_ptr<char> token_ = std::make_shared<char>();
};

}  // namespace vantorel
