#include "agent/mcp_server.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "agent/mcp_log.hpp"
#include "agent/mcp_token_store.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

constexpr int lowestPort = 1024;
constexpr int highestPort = 65535;

struct FailureWording {
  std::string operator()(const MCPServer::Failure::PortInUse& cause) const {
    return fmt::format(
        "Port {} is already in use. Another app is listening on it, or an earlier copy of Vantorel "
        "still is. Choose a different port.",
        cause.port);
  }
  std::string operator()(const MCPServer::Failure::InvalidPort& cause) const {
    return fmt::format(
        "Port {} is not a port Vantorel can listen on. Choose a port between 1024 and 65535.",
        cause.port);
  }
  std::string operator()(const MCPServer::Failure::ListenerFailed& cause) const {
    return "Vantorel couldn’t start the MCP server: " + cause.reason;
  }
  std::string operator()(const MCPServer::Failure::TokenUnavailable& cause) const {
    return "Vantorel couldn’t read the MCP access token from your keyring: " + cause.reason;
  }
  std::string operator()(const MCPServer::Failure::NoHandler& /*cause*/) const {
    return "Vantorel couldn’t start the MCP server because nothing was ready to answer requests.";
  }
};

}  // namespace

MCPServer::MCPServer(Services services) : services_(std::move(services)) {}

MCPServer::~MCPServer() {
  connectionsChanged = nullptr;
  stop("the program ends");
}

void MCPServer::start(int port, Started started) {
  stop("it starts anew");
  if (port < lowestPort || port > highestPort) {
    return started(std::unexpected(Failure{Failure::InvalidPort{port}}));
  }
  const std::shared_ptr<MCPTokenStore> tokens = services_.tokens;
  roundTrip(
      *services_.tokenRunner, services_.runner, [tokens] { return tokens->token(); },
      run_.guard(
          [this, port, started = std::move(started)](const MCPTokenStore::Token& token) mutable {
            listen(port, token, std::move(started));
          }));
}

void MCPServer::listen(int port, const Result<std::string, MCPTokenFailure>& token,
                       Started started) {
  if (!token) {
    return started(std::unexpected(Failure{Failure::TokenUnavailable{sentence(token.error())}}));
  }
  if (services_.handlerFactory) handler_ = services_.handlerFactory(sessions_);
  if (!handler_) return started(std::unexpected(Failure{Failure::NoHandler{}}));
  listener_ = services_.makeListener();
  const auto listening = listener_->listen(
      static_cast<std::uint16_t>(port),
      {.accepted = [this](std::unique_ptr<LoopbackStream> stream) { accept(std::move(stream)); },
       .ended =
           [this](const vantorel::Failure& failure) {
             services_.runner->post(run_.guard([this, reason = failure.reason] {
               stop(reason);
               if (unexpectedStop) unexpectedStop("the system refused the port");
             }));
           }});
  if (!listening) {
    listener_.reset();
    handler_.reset();
    const vantorel::Failure& failure = listening.error();
    if (failure.kind == FailureKind::exists) {
      return started(std::unexpected(Failure{Failure::PortInUse{port}}));
    }
    return started(std::unexpected(Failure{Failure::ListenerFailed{failure.reason}}));
  }
  auth_ = {.port = *listening, .token = *token};
  started(*listening);
}

void MCPServer::stop(std::string_view reason) {
  run_.renew();
  const bool wasRunning = listener_ != nullptr;
  listener_.reset();
  // What closes is forgotten by itself, but later, and these go now.
  std::map<ClientID, Client> clients = std::exchange(clients_, {});
  for (auto& [id, client] : clients) client.connection->close();
  clients.clear();
  refused_ = 0;
  isTicking_ = false;
  handler_.reset();
  sessions_.endAll();
  auth_ = {};
  publish();
  if (wasRunning) logInfo(mcpLog, "MCP server stopped: {}", reason);
}

void MCPServer::regenerateToken(Regenerated regenerated) {
  const std::shared_ptr<MCPTokenStore> tokens = services_.tokens;
  roundTrip(
      *services_.tokenRunner, services_.runner, [tokens] { return tokens->regenerate(); },
      lifetime_.guard(
          [this, regenerated = std::move(regenerated)](const MCPTokenStore::Token& token) mutable {
            if (token && listener_) {
              auth_.token = *token;
              for (auto& [id, client] : clients_) client.connection->withdraw();
            }
            regenerated(token);
          }));
}

void MCPServer::accept(std::unique_ptr<LoopbackStream> stream) {
  const bool isRefused = clients_.size() - refused_ >= services_.limits.maximumConnections;
  if (isRefused) {
    if (!std::exchange(loggedConnectionCeiling_, true)) {
      logWarning(mcpLog, "The MCP server has {} connections and takes no more",
                 services_.limits.maximumConnections);
    }
    if (refused_ >= services_.limits.maximumRefusals) return;
    ++refused_;
  }
  const ClientID id = ++lastClient_;
  auto connection = std::make_unique<MCPConnection>(
      std::move(stream), services_.clock, services_.limits.connection,
      MCPConnection::Callbacks{
          .authorize = [this](const RequestHead& head) { return auth_.check(head); },
          .handle =
              [this, id](MCPExchange exchange, MCPReplied replied) {
                handle(id, std::move(exchange), std::move(replied));
              },
          .onClose = [this,
                      id] { services_.runner->post(run_.guard([this, id] { forget(id); })); }});
  MCPConnection& kept = *connection;
  clients_.emplace(
      id, Client{.connection = std::move(connection), .session = nullptr, .isRefused = isRefused});
  if (!std::exchange(isTicking_, true)) tick();
  if (!isRefused) return kept.start();
  kept.refuse(503, "Service Unavailable",
              "This server has as many connections as it serves. Close one and try again.");
}

void MCPServer::handle(ClientID id, MCPExchange exchange, MCPReplied replied) {
  if (exchange.sessionID) setSession(id, sessions_.find(*exchange.sessionID));
  handler_->handle(std::move(exchange),
                   run_.guard([this, id, replied = std::move(replied)](MCPReply reply) mutable {
                     if (const auto* body = std::get_if<MCPReply::Body>(&reply.answer);
                         body && body->sessionID) {
                       setSession(id, sessions_.find(*body->sessionID));
                     }
                     replied(std::move(reply));
                   }));
}

void MCPServer::setSession(ClientID id, const std::shared_ptr<MCPSession>& session) {
  const auto found = clients_.find(id);
  if (found == clients_.end() || session == nullptr || found->second.session == session) return;
  found->second.session = session;
  publish();
}

void MCPServer::forget(ClientID id) {
  const auto found = clients_.find(id);
  if (found == clients_.end()) return;
  if (found->second.isRefused) --refused_;
  const bool wasKnown = found->second.session != nullptr;
  clients_.erase(found);
  if (wasKnown) publish();
}

void MCPServer::tick() {
  if (clients_.empty()) {
    isTicking_ = false;
    return;
  }
  for (auto& [id, client] : clients_) client.connection->tick();
  services_.runner->postAfter(std::chrono::seconds(1), run_.guard([this] { tick(); }));
}

void MCPServer::publish() {
  std::vector<std::string> descriptions;
  for (const auto& [id, client] : clients_) {
    if (client.session) descriptions.push_back(description(client.session->client()));
  }
  std::ranges::sort(descriptions);
  const auto repeated = std::ranges::unique(descriptions);
  descriptions.erase(repeated.begin(), repeated.end());
  if (descriptions == publishedDescriptions_) return;
  publishedDescriptions_ = std::move(descriptions);
  if (connectionsChanged) connectionsChanged(publishedDescriptions_);
}

std::string sentence(const MCPServer::Failure& failure) {
  return std::visit(FailureWording{}, failure.cause);
}

}  // namespace vantorel
