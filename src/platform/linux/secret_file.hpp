#pragma once

#include "platform/files.hpp"
#include "platform/secret_store.hpp"

namespace vantorel {

/// A secret in a file that its owner alone may read, for a session without a keyring. Refuses, with
/// `denied`, what is a link, of another owner, has a second name or is open to others; a file that
/// is open to others is replaced by the next `write`. Any thread, one at a time.
class SecretFile final : public SecretStore {
 public:
  /// Its folder is made when the first secret is written.
  explicit SecretFile(Path path);

  Result<std::optional<std::string>> read() override;
  Result<void> write(std::string_view secret) override;
  Result<void> remove() override;

 private:
  Path path_;
};

}  // namespace vantorel
