#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/task_runner.hpp"
#include "platform/hot_keys.hpp"

namespace vantorel {

/// Hot keys of an X11 desktop, on a connection and thread of their own. The keys stay registered
/// when the keyboard layout changes. A failure's `status` is the X error, 0 when there is no
/// server.
class X11HotKeys final : public HotKeys {
 public:
  /// Connects at the first registration.
  X11HotKeys(const std::string& display, const std::shared_ptr<TaskRunner>& main);
  ~X11HotKeys() override;

  [[nodiscard]] bool areAvailable() const override { return true; }
  [[nodiscard]] std::unique_ptr<HotKeyRegistration> registerKey(
      const HotKeySpec& spec, std::function<void()> onFire, std::function<void()> onRelease,
      std::function<void(State)> onState) override;

 private:
  struct Shared;
  class Registration;

  std::shared_ptr<Shared> shared_;
};

}  // namespace vantorel
