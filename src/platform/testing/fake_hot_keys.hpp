#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/hot_keys.hpp"

namespace vantorel {

/// A keyboard the test presses. Keys in `taken` belong to another program. One thread.
class FakeHotKeys final : public HotKeys {
 public:
  explicit FakeHotKeys(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

  std::vector<HotKeySpec> taken;
  int asked = 0;  ///< how often a key was asked for

  /// Presses and releases a key; false when nobody has registered it.
  bool press(const HotKeySpec& spec) {
    for (const auto& [id, key] : keys_) {
      if (key.spec != spec || !key.isOurs) continue;
      const Key copy = key;
      if (copy.onFire) copy.onFire();
      if (copy.onRelease) copy.onRelease();
      return true;
    }
    return false;
  }

  [[nodiscard]] bool isRegistered(const HotKeySpec& spec) const {
    return std::ranges::any_of(
        keys_, [&](const auto& row) { return row.second.spec == spec && row.second.isOurs; });
  }

  [[nodiscard]] bool areAvailable() const override { return true; }

  std::unique_ptr<HotKeyRegistration> registerKey(const HotKeySpec& spec,
                                                  std::function<void()> onFire,
                                                  std::function<void()> onRelease,
                                                  std::function<void(State)> onState) override {
    ++asked;
    State state;
    if (std::ranges::find(taken, spec) != taken.end()) {
      state = std::unexpected(HotKeyError{.why = HotKeyObstacle::heldElsewhere, .status = 10});
    } else if (isRegistered(spec)) {
      state = std::unexpected(HotKeyError{.what = HotKeyErrorCase::alreadyRegistered});
    }
    const int id = ++last_;
    keys_[id] = {spec, state.has_value(), std::move(onFire), std::move(onRelease)};
    main_->post([this, id, state, onState = std::move(onState)] {
      if (onState && keys_.contains(id)) onState(state);
    });
    return std::make_unique<Registration>(*this, id);
  }

 private:
  struct Key {
    HotKeySpec spec;
    bool isOurs = false;
    std::function<void()> onFire;
    std::function<void()> onRelease;
  };

  class Registration final : public HotKeyRegistration {
   public:
    Registration(FakeHotKeys& owner, int id) : owner_(owner), id_(id) {}
    ~Registration() override { owner_.keys_.erase(id_); }

   private:
    FakeHotKeys& owner_;
    int id_;
  };

  std::shared_ptr<TaskRunner> main_;
  std::map<int, Key> keys_;
  int last_ = 0;
};

}  // namespace vantorel
