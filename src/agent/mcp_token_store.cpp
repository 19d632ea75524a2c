#include "agent/mcp_token_store.hpp"

#include <fmt/format.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include "agent/mcp_log.hpp"
#include "base/check.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::size_t tokenBytes = 32;
constexpr std::size_t tokenLetters = 43;
constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

struct TokenWording {
  std::string operator()(const MCPTokenFailure::RandomUnavailable& /*cause*/) const {
    return "Vantorel couldn’t generate a token for the MCP server. Restart your computer and try "
           "again.";
  }
  std::string operator()(const MCPTokenFailure::NowhereKept& cause) const {
    return fmt::format(
        "Vantorel couldn’t save the MCP server's token to your login keyring (error {}). Open "
        "Passwords and Keys and check that your login keyring is unlocked, then try again.",
        cause.reason);
  }
};

/// The token a place holds; what is no token counts as none.
Result<std::optional<std::string>> tokenIn(SecretStore& store) {
  std::optional<std::string> found = VT_TRY(store.read());
  if (found && !isToken(*found)) found.reset();
  return found;
}

}  // namespace

std::string sentence(const MCPTokenFailure& failure) {
  return std::visit(TokenWording{}, failure.cause);
}

MCPTokenStore::MCPTokenStore(std::shared_ptr<SecretStore> secrets,
                             std::shared_ptr<SecretStore> file, Generate generate)
    : secrets_(std::move(secrets)), file_(std::move(file)), generate_(std::move(generate)) {}

MCPTokenStore::Token MCPTokenStore::token() {
  VT_CHECK(sequence_.isCurrent());
  if (cached_) return *cached_;
  const auto secret = tokenIn(*secrets_);
  if (secret && *secret) {
    (void)file_->remove();
    return kept(**secret, Place::secretService);
  }
  if (!secret) {
    logInfo(mcpLog, "the desktop's secrets can't be had: {}", secret.error().reason);
  }
  auto filed = tokenIn(*file_);
  if (filed && *filed) {
    if (secret && secrets_->write(**filed)) {
      (void)file_->remove();
      return kept(std::move(**filed), Place::secretService);
    }
    return kept(std::move(**filed), Place::file);
  }
  return regenerate();
}

MCPTokenStore::Token MCPTokenStore::regenerate() {
  VT_CHECK(sequence_.isCurrent());
  auto made = generate_();
  if (!made)
    return std::unexpected(MCPTokenFailure{MCPTokenFailure::RandomUnavailable{made.error()}});
  return keep(std::move(*made));
}

MCPTokenStore::Token MCPTokenStore::keep(std::string token) {
  if (secrets_->write(token)) {
    (void)file_->remove();
    return kept(std::move(token), Place::secretService);
  }
  const Result<void> filed = file_->write(token);
  if (!filed) {
    return std::unexpected(
        MCPTokenFailure{MCPTokenFailure::NowhereKept{.reason = filed.error().reason}});
  }
  return kept(std::move(token), Place::file);
}

MCPTokenStore::Token MCPTokenStore::kept(std::string token, Place place) {
  cached_ = token;
  place_ = place;
  return token;
}

std::string_view placeText(MCPTokenStore::Place place) {
  switch (place) {
    case MCPTokenStore::Place::none: return "nowhere yet";
    case MCPTokenStore::Place::secretService: return "in your keyring";
    case MCPTokenStore::Place::file: return "in a file that only you can read";
  }
  return {};
}

Result<std::string, int> randomToken() {
  std::array<std::uint8_t, tokenBytes> bytes{};
  for (std::size_t filled = 0; filled < bytes.size();) {
    const ssize_t got = ::getrandom(bytes.data() + filled, bytes.size() - filled, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::unexpected(errno);
    filled += static_cast<std::size_t>(got);
  }
  std::string token;
  std::uint32_t bits = 0;
  int held = 0;
  for (const std::uint8_t byte : bytes) {
    bits = (bits << 8U) | byte;
    for (held += 8; held >= 6; held -= 6) token += alphabet[(bits >> (held - 6U)) & 63U];
  }
  token += alphabet[(bits << (6U - held)) & 63U];
  return token;
}

bool isToken(std::string_view text) {
  return text.size() == tokenLetters &&
         std::ranges::all_of(text, [](char letter) { return alphabet.contains(letter); });
}

}  // namespace vantorel
