#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "agent/mcp_server.hpp"
#include "agent/mcp_token_store.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"

namespace vantorel {

/// What the settings say of the server.
struct MCPSettingsChange {
  bool serverEnabled = false;
  int port = 0;

  bool operator==(const MCPSettingsChange&) const = default;
};

/// Starts and stops the server as the settings change, and says how it is. Lives on the main
/// runner; the server lives and goes on its own.
class MCPServerController {
 public:
  struct Stopped {
    bool operator==(const Stopped&) const = default;
  };
  struct Starting {
    bool operator==(const Starting&) const = default;
  };
  struct Running {
    int port;
    bool operator==(const Running&) const = default;
  };
  struct Failed {
    std::string reason;  ///< a sentence
    bool operator==(const Failed&) const = default;
  };
  using State = std::variant<Stopped, Starting, Running, Failed>;

  MCPServerController(std::shared_ptr<TaskRunner> main, MCPServer::Services services);
  ~MCPServerController();
  MCPServerController(const MCPServerController&) = delete;
  MCPServerController& operator=(const MCPServerController&) = delete;

  /// What is running goes on, with its sessions, when neither switch nor port changed; what failed
  /// is tried again.
  void apply(const MCPSettingsChange& change);

  /// Stops it for good, as the program ends; `stopped` is called when all connections are closed.
  void stop(std::string reason, std::move_only_function<void()> stopped);

  [[nodiscard]] const State& state() const { return state_; }
  [[nodiscard]] const std::vector<std::string>& connectedClients() const { return clients_; }

  /// "Starting", "Stopped", "Running on 127.0.0.1:9123", or why it does not run.
  [[nodiscard]] std::string statusText() const;

  /// Where the token is kept, for the status line; known once the server has started.
  [[nodiscard]] MCPTokenStore::Place tokenPlace() const { return services_.tokens->place(); }

  /// The token, or the sentence why there is none. It may have to be made; never logged.
  using Token = Result<std::string, std::string>;
  using TokenGiven = std::move_only_function<void(Token)>;
  void token(TokenGiven given);

  /// Replaces it, and withdraws the prompts that wait.
  void regenerateToken(TokenGiven given);

  /// State or clients have changed.
  Observers<> changes;

 private:
  void start();
  void setState(State state);

  std::shared_ptr<TaskRunner> main_;
  MCPServer::Services services_;
  std::optional<MCPSettingsChange> configured_;
  State state_ = Stopped{};
  std::vector<std::string> clients_;
  std::uint64_t generation_ = 0;
  std::shared_ptr<MCPServer> server_;
  Lifetime lifetime_;
};

}  // namespace vantorel
