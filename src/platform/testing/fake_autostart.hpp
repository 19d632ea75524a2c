#pragma once

#include <optional>

#include "platform/autostart.hpp"

namespace vantorel {

/// Remembers what it was set to, unless it `refuses`. One thread.
class FakeAutostart final : public Autostart {
 public:
  bool on = false;
  std::optional<Failure> refuses;

  [[nodiscard]] bool isOn() const override { return on; }
  [[nodiscard]] Result<void> set(bool wanted) override {
    if (refuses) return std::unexpected(*refuses);
    on = wanted;
    return {};
  }
};

}  // namespace vantorel
