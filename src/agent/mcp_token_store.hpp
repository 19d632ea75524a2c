#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "base/result.hpp"
#include "base/sequence_checker.hpp"
#include "platform/secret_store.hpp"

namespace vantorel {

/// Why there is no token.
struct MCPTokenFailure {
  struct RandomUnavailable {
    int status;
  };
  struct NowhereKept {
    std::string reason;  ///< a clause
  };

  std::variant<RandomUnavailable, NowhereKept> cause;
};

[[nodiscard]] std::string sentence(const MCPTokenFailure& failure);

/// The bearer token: kept with the desktop's secrets where they can be had and in a file that only
/// the user reads where not; made when it is first asked for. One that was kept in the file moves
/// to the secrets when those answer again, unless they hold one: then that one counts. Never
/// logged. Lives on one runner, which may wait for the places.
class MCPTokenStore {
 public:
  enum class Place { none, secretService, file };

  /// A new token, or the system's error number.
  using Generate = std::function<Result<std::string, int>()>;

  MCPTokenStore(std::shared_ptr<SecretStore> secrets, std::shared_ptr<SecretStore> file,
                Generate generate);

  using Token = Result<std::string, MCPTokenFailure>;
  [[nodiscard]] Token token();

  /// Replaces it. After a failure the one before stays.
  [[nodiscard]] Token regenerate();

  /// Where the token lies; `none` until it was asked for. Any thread.
  [[nodiscard]] Place place() const { return place_; }

 private:
  [[nodiscard]] Token keep(std::string token);
  [[nodiscard]] Token kept(std::string token, Place place);

  std::shared_ptr<SecretStore> secrets_;
  std::shared_ptr<SecretStore> file_;
  Generate generate_;
  std::optional<std::string> cached_;
  std::atomic<Place> place_ = Place::none;
  SequenceChecker sequence_;
};

/// "in your keyring" or "in a file that only you can read": where a status line says it.
[[nodiscard]] std::string_view placeText(MCPTokenStore::Place place);

/// 256 random bits from the system, as 43 letters, digits, "-" and "_".
[[nodiscard]] Result<std::string, int> randomToken();

/// Whether a text has the form of a token; what else a file holds is not served.
[[nodiscard]] bool isToken(std::string_view text);

}  // namespace vantorel
