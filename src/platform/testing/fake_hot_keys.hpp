#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "platform/hot_keys.hpp"

namespace vantorel {

/// A keyboard the test presses. Keys in `taken` belong to another program. One thread.
class FakeHotKeys final : public HotKeys {
 public:
  std::vector<HotKeySpec> taken;

  /// Presses and releases a key; false when nobody has registered it.
  bool press(const HotKeySpec& spec) {
    for (const Key& key : keys_) {
      if (key.spec != spec) continue;
      const Key copy = key;
      copy.onFire();
      copy.onRelease();
      return true;
    }
    return false;
  }

  [[nodiscard]] bool isRegistered(const HotKeySpec& spec) const {
    return std::ranges::find(keys_, spec, &Key::spec) != keys_.end();
  }

  [[nodiscard]] bool areAvailable() const override { return true; }

  Result<std::unique_ptr<HotKeyRegistration>, HotKeyError> registerKey(
      const HotKeySpec& spec, std::function<void()> onFire,
      std::function<void()> onRelease) override {
    if (std::ranges::find(taken, spec) != taken.end()) {
      return std::unexpected(HotKeyError{HotKeyErrorCase::registrationFailed, 10});
    }
    if (isRegistered(spec)) {
      return std::unexpected(HotKeyError{HotKeyErrorCase::alreadyRegistered, 0});
    }
    keys_.push_back({spec, std::move(onFire), std::move(onRelease)});
    return std::make_unique<Registration>(*this, spec);
  }

 private:
  struct Key {
    HotKeySpec spec;
    std::function<void()> onFire;
    std::function<void()> onRelease;
  };

  class Registration final : public HotKeyRegistration {
   public:
    Registration(FakeHotKeys& owner, HotKeySpec spec) : owner_(owner), spec_(spec) {}
    ~Registration() override {
      std::erase_if(owner_.keys_, [this](const Key& key) { return key.spec == spec_; });
    }

   private:
    FakeHotKeys& owner_;
    HotKeySpec spec_;
  };

  std::vector<Key> keys_;
};

}  // namespace vantorel
