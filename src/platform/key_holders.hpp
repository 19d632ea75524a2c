#pragma once

#include <functional>
#include <string>

#include "app/records/hot_key_spec.hpp"

namespace vantorel {

/// Who has the keys of the desktop. Only what runs anyway is asked, and nobody waits for it. Lives
/// on the main runner.
class KeyHolders {
 public:
  virtual ~KeyHolders() = default;

  /// Calls `known`, after this call, with the name of what the desktop says has that key, as a
  /// person knows it ("Spectacle"); empty when nobody says. Never by a desktop that does not
  /// answer.
  virtual void whoHolds(const HotKeySpec& spec, std::function<void(std::string holder)> known) = 0;
};

}  // namespace vantorel
