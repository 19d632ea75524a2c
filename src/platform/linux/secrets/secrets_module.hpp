#pragma once

#include <optional>
#include <string>

#include "base/result.hpp"

namespace vantorel {

/// One secret, by what it is found and shown by.
struct KeptSecret {
  std::string service;
  std::string account;
  std::string label;
  std::string description;
};

/// What the module of the Secret Service offers; calls wait 2.5 s at most, and never ask the user
/// for anything. Any thread.
struct SecretsModule {
  Result<std::optional<std::string>> (*read)(const KeptSecret& item);
  Result<void> (*write)(const KeptSecret& item, const std::string& secret);
  Result<void> (*remove)(const KeptSecret& item);
};

using SecretsModuleEntry = const SecretsModule* (*)();
inline constexpr const char* secretsModuleEntryName = "vantorelSecretsModule";

}  // namespace vantorel
