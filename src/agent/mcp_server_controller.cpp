#include "agent/mcp_server_controller.hpp"

#include <fmt/format.h>

#include <utility>

#include "agent/mcp_log.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

MCPServerController::Token worded(MCPTokenStore::Token token) {
  if (token) return std::move(*token);
  return std::unexpected(sentence(token.error()));
}

struct StatusWording {
  std::string operator()(const MCPServerController::Stopped& /*state*/) const { return "Stopped"; }
  std::string operator()(const MCPServerController::Starting& /*state*/) const {
    return "Starting";
  }
  std::string operator()(const MCPServerController::Running& state) const {
    return fmt::format("Running on 127.0.0.1:{}", state.port);
  }
  std::string operator()(const MCPServerController::Failed& state) const { return state.reason; }
};

}  // namespace

MCPServerController::MCPServerController(std::shared_ptr<TaskRunner> main,
                                         MCPServer::Services services)
    : main_(std::move(main)),
      services_(std::move(services)),
      server_(std::make_shared<MCPServer>(services_)) {
  server_->connectionsChanged =
      [main = main_, heard = lifetime_.guard([this](const std::vector<std::string>& clients) {
        clients_ = clients;
        changes.notify();
      })](const std::vector<std::string>& clients) {
        main->post([heard, clients]() mutable { heard(clients); });
      };
  server_->unexpectedStop =
      [main = main_, heard = lifetime_.guard([this](const std::string& reason) {
        ++generation_;
        logWarning(mcpLog, "MCP server stopped");
        setState(Failed{"Vantorel couldn’t start the MCP server: " + reason});
      })](const std::string& reason) { main->post([heard, reason]() mutable { heard(reason); }); };
}

MCPServerController::~MCPServerController() {
  // It goes where it lives.
  services_.runner->post([server = std::move(server_)]() mutable { server.reset(); });
}

void MCPServerController::apply(const MCPSettingsChange& change) {
  const bool hasFailed = std::holds_alternative<Failed>(state_);
  if (configured_ == change && !(hasFailed && change.serverEnabled)) return;
  const bool wasOff = !configured_ || !configured_->serverEnabled;
  configured_ = change;
  if (!change.serverEnabled && wasOff) return;  // another port for later
  ++generation_;
  if (change.serverEnabled) return start();
  services_.runner->post([server = server_] { server->stop("it was switched off"); });
  setState(Stopped{});
}

void MCPServerController::start() {
  setState(Starting{});
  using Started = Result<std::uint16_t, MCPServer::Failure>;
  auto heard = lifetime_.guard([this, generation = generation_](const Started& started) {
    if (generation != generation_) return;
    if (started) return setState(Running{*started});
    const std::string reason = sentence(started.error());
    logWarning("MCP server lifecycle", "MCP server did not start: {}", reason);
    setState(Failed{reason});
  });
  services_.runner->post([server = server_, port = configured_->port, main = main_,
                          heard = std::move(heard)]() mutable {
    server->start(port, [main, heard = std::move(heard)](Started started) mutable {
      main->post(
          [heard = std::move(heard), started = std::move(started)]() mutable { heard(started); });
    });
  });
}

void MCPServerController::stop(std::string reason, std::move_only_function<void()> stopped) {
  ++generation_;
  configured_.reset();
  setState(Stopped{});
  roundTrip(
      *services_.runner, main_,
      [server = server_, reason = std::move(reason)] { server->stop(reason); },
      lifetime_.guard(std::move(stopped)));
}

void MCPServerController::token(TokenGiven given) {
  roundTrip(
      *services_.tokenRunner, main_, [tokens = services_.tokens] { return tokens->token(); },
      lifetime_.guard([given = std::move(given)](MCPTokenStore::Token token) mutable {
        given(worded(std::move(token)));
      }));
}

void MCPServerController::regenerateToken(TokenGiven given) {
  auto heard = lifetime_.guard([given = std::move(given)](MCPTokenStore::Token token) mutable {
    given(worded(std::move(token)));
  });
  services_.runner->post([server = server_, main = main_, heard = std::move(heard)]() mutable {
    server->regenerateToken([main, heard = std::move(heard)](MCPTokenStore::Token token) mutable {
      main->post([heard = std::move(heard), token = std::move(token)]() mutable {
        heard(std::move(token));
      });
    });
  });
}

std::string MCPServerController::statusText() const { return std::visit(StatusWording{}, state_); }

void MCPServerController::setState(State state) {
  if (state == state_) return;
  state_ = std::move(state);
  changes.notify();
}

}  // namespace vantorel
