#pragma once

#include <memory>
#include <utility>

#include "platform/mount_watcher.hpp"

namespace vantorel {

/// Tests say when something was mounted. One watch, one thread.
class FakeMountWatcher final : public MountWatcher {
 public:
  void happen() {
    runner_->post([weak = std::weak_ptr(onChange_)] {
      if (const auto lifetime = weak.lock()) (*lifetime)();
    });
  }

  Result<std::unique_ptr<MountWatch>> watch(std::shared_ptr<TaskRunner> runner,
                                            std::function<void()> onChange) override {
    runner_ = std::move(runner);
    auto held = std::make_shared<std::function<void()>>(std::move(onChange));
    onChange_ = held;
    return std::make_unique<Watch>(std::move(held));
  }

 private:
  struct Watch final : MountWatch {
    explicit Watch(std::shared_ptr<std::function<void()>> kept) : held(std::move(kept)) {}
    std::shared_ptr<std::function<void()>> held;
  };

  std::shared_ptr<TaskRunner> runner_;
  std::weak_ptr<std::function<void()>> onChange_;
};

}  // namespace vantorel
