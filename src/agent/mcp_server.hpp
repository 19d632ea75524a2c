#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "agent/mcp_auth.hpp"
#include "agent/mcp_connection.hpp"
#include "agent/mcp_exchange.hpp"
#include "agent/mcp_session.hpp"
#include "base/lifetime.hpp"
#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "platform/clock.hpp"
#include "platform/loopback_listener.hpp"

namespace vantorel {

class MCPTokenStore;
struct MCPTokenFailure;

/// Listens on 127.0.0.1 and serves its connections. Lives on one runner that nothing slow shares,
/// and goes on it. Beyond `maximumConnections` a client is told so with a 503, and beyond as many
/// more as `maximumRefusals` closed at once: that is logged once in a run.
class MCPServer {
 public:
  struct Failure {
    struct PortInUse {
      int port;
    };
    struct InvalidPort {
      int port;
    };
    struct ListenerFailed {
      std::string reason;
    };
    struct TokenUnavailable {
      std::string reason;
    };
    struct NoHandler {};

    std::variant<PortInUse, InvalidPort, ListenerFailed, TokenUnavailable, NoHandler> cause;
  };

  struct Limits {
    std::size_t maximumConnections = 640;
    std::size_t maximumRefusals = 32;
    MCPConnection::Limits connection = {};
  };

  struct Services {
    std::shared_ptr<TaskRunner> runner;  ///< the server's own
    const Clock& clock;
    std::function<std::unique_ptr<LoopbackListener>()> makeListener;
    std::shared_ptr<MCPTokenStore> tokens;
    std::shared_ptr<TaskRunner> tokenRunner;  ///< where the token store lives, and may wait
    MCPHandlerFactory handlerFactory;
    Limits limits = {};
  };

  explicit MCPServer(Services services);
  ~MCPServer();
  MCPServer(const MCPServer&) = delete;
  MCPServer& operator=(const MCPServer&) = delete;

  using Started = std::move_only_function<void(Result<std::uint16_t, Failure>)>;

  /// Reads the token, then listens. A stop before that ends without an answer.
  void start(int port, Started started);

  /// Withdraws all calls, closes all connections, ends all sessions.
  void stop(std::string_view reason);

  /// Replaces the token and withdraws the calls under way. Answers with the new one; after
  /// a failure the old one stays.
  using Regenerated = std::move_only_function<void(Result<std::string, MCPTokenFailure>)>;
  void regenerateToken(Regenerated regenerated);

  /// The descriptions of the connected clients, sorted, each once; empty after a stop.
  std::function<void(const std::vector<std::string>&)> connectionsChanged;

  /// It cannot listen any more, and has stopped.
  std::function<void(const std::string& reason)> unexpectedStop;

 private:
  struct Client {
    std::unique_ptr<MCPConnection> connection;
    std::shared_ptr<MCPSession> session;
    bool isRefused = false;
  };
  using ClientID = std::uint64_t;

  void listen(int port, const Result<std::string, MCPTokenFailure>& token, Started started);
  void accept(std::unique_ptr<LoopbackStream> stream);
  void handle(ClientID id, MCPExchange exchange, MCPReplied replied);
  void setSession(ClientID id, const std::shared_ptr<MCPSession>& session);
  void forget(ClientID id);
  void tick();
  void publish();

  Services services_;
  MCPAuth auth_;
  MCPSessions sessions_;
  std::unique_ptr<MCPRequestHandler> handler_;
  std::map<ClientID, Client> clients_;
  ClientID lastClient_ = 0;
  std::size_t refused_ = 0;
  bool isTicking_ = false;
  bool loggedConnectionCeiling_ = false;
  std::vector<std::string> publishedDescriptions_;
  std::unique_ptr<LoopbackListener> listener_;
  Lifetime run_;  // from start to stop
  Lifetime lifetime_;
};

/// For people.
[[nodiscard]] std::string sentence(const MCPServer::Failure& failure);

}  // namespace vantorel
