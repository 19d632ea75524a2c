#pragma once

#include <mutex>

#include "platform/files.hpp"
#include "platform/linux/secrets/secrets_module.hpp"
#include "platform/secret_store.hpp"

namespace vantorel {

/// A secret in the desktop's Secret Service (GNOME Keyring, KWallet, KeePassXC), by a module that
/// the first call loads. Never asks the user for a password: a keyring that is locked fails with
/// `denied`. Each call waits 2.5 s at most. Any thread.
class LinuxSecretStore final : public SecretStore {
 public:
  explicit LinuxSecretStore(KeptSecret secret);
  LinuxSecretStore(KeptSecret secret, Path moduleFolder);

  Result<std::optional<std::string>> read() override;
  Result<void> write(std::string_view secret) override;
  Result<void> remove() override;

 private:
  [[nodiscard]] Result<const SecretsModule*> module();

  KeptSecret secret_;
  Path moduleFolder_;
  std::mutex loading_;
  const SecretsModule* module_ = nullptr;
};

/// Where the token of the agent server is kept.
[[nodiscard]] KeptSecret mcpTokenSecret();

}  // namespace vantorel
