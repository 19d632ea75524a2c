#pragma once

#include <optional>
#include <string>

#include "platform/secret_store.hpp"

namespace vantorel {

/// Keeps its secret in memory, and fails with `failure` while there is one.
class FakeSecretStore final : public SecretStore {
 public:
  std::optional<std::string> secret;
  std::optional<Failure> failure;
  bool refusesWrites = false;

  Result<std::optional<std::string>> read() override {
    if (failure) return std::unexpected(*failure);
    return secret;
  }
  Result<void> write(std::string_view written) override {
    if (failure) return std::unexpected(*failure);
    if (refusesWrites) return failed(FailureKind::denied, "it is read-only");
    secret = written;
    return {};
  }
  Result<void> remove() override {
    if (failure) return std::unexpected(*failure);
    secret.reset();
    return {};
  }
};

}  // namespace vantorel
