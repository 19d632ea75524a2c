#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel {

/// The per-user store of preferences: a map from key to JSON value that outlives the program.
/// Lives on the main runner; never blocks it: changes are kept in memory and written behind.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;

  /// Nothing when the key is absent.
  [[nodiscard]] virtual std::optional<JSONValue> value(std::string_view key) const = 0;

  virtual void set(std::string_view key, JSONValue value) = 0;
  virtual void remove(std::string_view key) = 0;

  /// Called with the key when another process changed its value. One listener.
  virtual void onOutsideChange(std::function<void(std::string_view key)> listener) = 0;

  /// Called with the reason when changes can't be written, once for each reason, and with an empty
  /// one when they are on disk after all. They are tried again meanwhile. One listener.
  virtual void onUnsaved(std::function<void(const std::string& reason)> listener) = 0;

  /// Writes what is not yet on disk and answers when it is safe there.
  virtual void flush(std::move_only_function<void(Result<void>)> done) = 0;
};

}  // namespace vantorel
