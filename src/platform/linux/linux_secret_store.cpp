#include "platform/linux/linux_secret_store.hpp"

#include <utility>

#include "platform/linux/program_module.hpp"

namespace vantorel {

LinuxSecretStore::LinuxSecretStore(KeptSecret secret)
    : LinuxSecretStore(std::move(secret), modulesFolder()) {}

LinuxSecretStore::LinuxSecretStore(KeptSecret secret, Path moduleFolder)
    : secret_(std::move(secret)), moduleFolder_(std::move(moduleFolder)) {}

Result<const SecretsModule*> LinuxSecretStore::module() {
  const std::scoped_lock lock(loading_);
  if (module_ != nullptr) return module_;
  const auto entry = moduleEntry(moduleFolder_ / "libvantorel_secrets.so", secretsModuleEntryName);
  if (!entry) {
    return failed(FailureKind::unreachable, "the part for keyrings " + entry.error().reason);
  }
  module_ = reinterpret_cast<SecretsModuleEntry>(*entry)();
  return module_;
}

Result<std::optional<std::string>> LinuxSecretStore::read() {
  return VT_TRY(module())->read(secret_);
}

Result<void> LinuxSecretStore::write(std::string_view secret) {
  return VT_TRY(module())->write(secret_, std::string(secret));
}

Result<void> LinuxSecretStore::remove() { return VT_TRY(module())->remove(secret_); }

KeptSecret mcpTokenSecret() {
  return {.service = "com.hollen.Vantorel.mcp",
          .account = "token",
          .label = "Vantorel MCP server token",
          .description = "Bearer token for Vantorel's local MCP server"};
}

}  // namespace vantorel
