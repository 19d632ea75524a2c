#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/result.hpp"

namespace vantorel {

/// A place that keeps one secret of the user's. Calls wait for it, for a few seconds at most: not
/// on the main runner, nor where anything quick lives.
class SecretStore {
 public:
  virtual ~SecretStore() = default;

  /// Nothing when it holds none. Fails with `unreachable` where there is no such place, with
  /// `denied` when it is locked, with `timedOut` when it does not answer.
  [[nodiscard]] virtual Result<std::optional<std::string>> read() = 0;

  /// Replaces the one before. Fails as `read`.
  [[nodiscard]] virtual Result<void> write(std::string_view secret) = 0;

  /// Succeeds too when it holds none.
  [[nodiscard]] virtual Result<void> remove() = 0;
};

}  // namespace vantorel
