#pragma once

#include <map>
#include <string>

#include "platform/defaults_store.hpp"

namespace vantorel {

/// Preferences in memory. Tests look at and set `stored` directly; `changeOutside` is another
/// process.
class FakeDefaultsStore final : public DefaultsStore {
 public:
  std::map<std::string, JSONValue, std::less<>> stored;

  /// What `flush` answers.
  Result<void> flushed;

  void changeOutside(const std::string& key, JSONValue value) {
    stored[key] = std::move(value);
    if (listener_) listener_(key);
  }

  /// The disk refuses changes for that reason; empty: no longer. Tells the listener.
  void becomeUnsaved(const std::string& reason) {
    flushed = reason.empty() ? Result<void>() : failed(FailureKind::noSpace, reason);
    if (unsavedListener_) unsavedListener_(reason);
  }

  [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override {
    const auto found = stored.find(key);
    return found == stored.end() ? std::nullopt : std::optional(found->second);
  }
  void set(std::string_view key, JSONValue value) override {
    stored.insert_or_assign(std::string(key), std::move(value));
  }
  void remove(std::string_view key) override { stored.erase(std::string(key)); }
  void onOutsideChange(std::function<void(std::string_view key)> listener) override {
    listener_ = std::move(listener);
  }
  void onUnsaved(std::function<void(const std::string& reason)> listener) override {
    unsavedListener_ = std::move(listener);
  }
  void flush(std::move_only_function<void(Result<void>)> done) override { done(flushed); }

 private:
  std::function<void(std::string_view key)> listener_;
  std::function<void(const std::string& reason)> unsavedListener_;
};

}  // namespace vantorel
