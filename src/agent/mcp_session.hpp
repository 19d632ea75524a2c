#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/json_value.hpp"
#include "base/sequence_checker.hpp"

namespace vantorel {

/// What a client calls itself. It is shown to the user, so it holds no control characters and is
/// short, whatever the client sent.
struct MCPClientIdentity {
  std::string name;
  std::optional<std::string> version = std::nullopt;

  bool operator==(const MCPClientIdentity&) const = default;
};

/// From the "clientInfo" of initialize; "An MCP client" where it says nothing usable.
[[nodiscard]] MCPClientIdentity clientIdentity(const JSONValue* clientInfo);

/// "Claude Code 1.2".
[[nodiscard]] std::string description(const MCPClientIdentity& client);

/// One client from its initialize until the server stops or forgets it. Any thread.
class MCPSession {
 public:
  MCPSession(std::string id, MCPClientIdentity client)
      : id_(std::move(id)), client_(std::move(client)) {}

  [[nodiscard]] const std::string& id() const { return id_; }
  [[nodiscard]] const MCPClientIdentity& client() const { return client_; }
  [[nodiscard]] bool hasEnded() const { return hasEnded_; }
  void end() { hasEnded_ = true; }

 private:
  std::string id_;
  MCPClientIdentity client_;
  std::atomic<bool> hasEnded_ = false;
};

/// The sessions of a running server. Of more than `maximum` the one that was asked for longest ago
/// ends. Lives on the server's runner.
class MCPSessions {
 public:
  static constexpr std::size_t maximum = 1024;

  [[nodiscard]] std::shared_ptr<MCPSession> mint(MCPClientIdentity client);

  /// Null when there is none.
  [[nodiscard]] std::shared_ptr<MCPSession> find(std::string_view id);

  void endAll();

 private:
  struct Kept {
    std::shared_ptr<MCPSession> session;
    std::uint64_t lastUse = 0;
  };
  void forgetOldest();

  SequenceChecker sequence_;
  std::uint64_t uses_ = 0;
  std::map<std::string, Kept, std::less<>> kept_;
};

}  // namespace vantorel
